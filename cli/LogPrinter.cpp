#include "cli/LogPrinter.h"

#include "cli/Json.h"
#include "cli/TimeText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace velk::cli {

namespace {

std::string line(const std::string& time, const DeviceLog::Entry& entry) {
    std::array<char, 120> numbers{};
    std::snprintf(numbers.data(), numbers.size(), "  %8u  %8lld  %5u  %6u  %5u  %6u  %10u", entry.id,
                  static_cast<long long>(entry.severity), entry.code, entry.status, entry.mode, entry.reason,
                  entry.data);
    return time + numbers.data();
}

} // namespace

void LogPrinter::printHead() const {
    if (!session.json) {
        session.out << session.style.title("TIME                       ID  SEVERITY   CODE  STATUS   MODE  "
                                           "REASON        DATA")
                    << "\n";
    }
}

std::vector<DeviceLog::Entry> LogPrinter::newEntries(const DeviceLog& log) const {
    std::vector<DeviceLog::Entry> entries = log.entries;
    // A daemon that has lost its notes counts from the beginning.
    if (entries.empty() || entries.back().sequence >= lastSequence) {
        std::erase_if(entries, [this](const auto& entry) { return entry.sequence <= lastSequence; });
    }
    return entries;
}

void LogPrinter::print(const DeviceLog& log, std::optional<std::uint64_t> newest) {
    std::vector<DeviceLog::Entry> entries = newEntries(log);
    const std::uint64_t left = std::min<std::uint64_t>(newest.value_or(entries.size()), entries.size());
    const auto first = entries.end() - static_cast<std::ptrdiff_t>(left);
    if (first != entries.begin()) {
        lastId = std::prev(first)->id;
        lastSequence = std::prev(first)->sequence;
    }
    std::for_each(first, entries.end(), [this](const DeviceLog::Entry& entry) { print(entry); });
    session.out << std::flush;
}

void LogPrinter::print(const DeviceLog::Entry& entry) {
    if (lastId && entry.id <= *lastId) {
        session.out << std::flush;
        session.err << "tess: the device's numbers begin again at " << entry.id << " after " << *lastId
                    << "\n";
    }
    lastId = entry.id;
    lastSequence = entry.sequence;
    if (session.json) {
        printLine(session.out, jsonOf(entry));
    } else {
        session.out << line(localText(entry.timeMs), entry) << "\n";
    }
}

} // namespace velk::cli
