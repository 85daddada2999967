#include "daemon/ConfigurationCheck.h"

#include "daemon/AlarmFiles.h"
#include "daemon/ConfigurationFile.h"
#include "daemon/HostSettings.h"
#include "daemon/PluginCheck.h"
#include "daemon/StoreSettings.h"
#include "daemon/history/HistorySettings.h"
#include "platform/common/Arguments.h"

#include <array>
#include <cstdint>
#include <set>
#include <stdexcept>

namespace velk::daemon {

namespace {

using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

struct NumberRow {
    const char* name;
    std::uint32_t least;
    std::uint32_t greatest;
    const char* meaning;
};

// clang-format off
constexpr auto numberRows = std::to_array<NumberRow>({
    {"maxThreads",        1, 256,       "worker threads"},
    {"maxCpuLoadPercent", 1, 100,       "percent of one core"},
    {"maxRestTimeMs",     1, 3'600'000, "milliseconds"},
});
// clang-format on

const NumberRow* findNumber(const std::string& name) {
    for (const NumberRow& row : numberRows) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

/// As the library takes it: a number, or a text of digits.
bool isInRange(const Node& node, const NumberRow& row) {
    const ValueType kind = node.getValueType();
    if (kind != ValueType::Integer && kind != ValueType::String) {
        return false;
    }
    try {
        const unsigned int number = velk::common::GetTypedArgHelper<unsigned int>::get(node.text());
        return number >= row.least && number <= row.greatest;
    } catch (const std::exception&) {
        return false;
    }
}

void checkNumber(const ConfigurationFile& file, const Node& node, const NumberRow& row, Findings& findings) {
    if (!isInRange(node, row)) {
        findings.push_back(file.at(node, Finding::Severity::Error,
                                   std::string{"\""} + row.name + "\": expected a whole number from " +
                                       std::to_string(row.least) + " to " + std::to_string(row.greatest) +
                                       " (" + row.meaning + "), not " + node.text()));
    }
}

void checkPluginList(const ConfigurationFile& file, const Node& node, Findings& findings) {
    if (node.getValueType() != ValueType::Array) {
        findings.push_back(file.at(node, Finding::Severity::Error,
                                   "\"protocolLibraries\": expected an array of files and folders"));
        return;
    }
    for (const Node& element : node.members()) {
        if (element.getValueType() != ValueType::String) {
            findings.push_back(file.at(element, Finding::Severity::Error,
                                       "\"protocolLibraries\": expected the name of a file or folder, not " +
                                           element.text()));
        }
    }
}

void checkOther(const ConfigurationFile& file, const Node& node, Findings& findings) {
    // An object is the section of a plug-in, which alone knows what belongs there.
    if (node.getValueType() != ValueType::Object) {
        findings.push_back(
            file.at(node, Finding::Severity::Warning,
                    "\"" + node.name() +
                        "\" is ignored; expected maxThreads, maxCpuLoadPercent, maxRestTimeMs, "
                        "protocolLibraries, host, history, store or the section of a plug-in"));
    }
}

} // namespace

Findings checkMembers(const ConfigurationFile& file) {
    Findings findings;
    std::set<std::string> seen;
    for (const Node& member : file.root().members()) {
        if (!seen.insert(member.name()).second) {
            findings.push_back(file.at(member, Finding::Severity::Warning,
                                       "\"" + member.name() + "\" is ignored: the first one counts"));
        } else if (const NumberRow* row = findNumber(member.name())) {
            checkNumber(file, member, *row, findings);
        } else if (member.name() == "protocolLibraries") {
            checkPluginList(file, member, findings);
        } else if (member.name() == HostSettings::MEMBER) {
            const Findings ofHost = HostSettings::check(file);
            findings.insert(findings.end(), ofHost.begin(), ofHost.end());
        } else if (member.name() == HistorySettings::MEMBER) {
            const Findings ofHistory = HistorySettings::check(file);
            findings.insert(findings.end(), ofHistory.begin(), ofHistory.end());
        } else if (member.name() == StoreSettings::MEMBER) {
            const Findings ofStore = StoreSettings::check(file);
            findings.insert(findings.end(), ofStore.begin(), ofStore.end());
        } else {
            checkOther(file, member, findings);
        }
    }
    return findings;
}

Findings checkFile(const std::string& path) {
    Findings findings;
    if (const auto file = ConfigurationFile::read(path, findings)) {
        return checkMembers(*file);
    }
    return findings;
}

Findings checkConfiguration(const std::string& path) {
    Findings findings;
    const auto file = ConfigurationFile::read(path, findings);
    if (!file) {
        return findings;
    }
    for (const auto& part : {checkMembers(*file), checkPlugins(*file), checkAlarmFiles(*file)}) {
        findings.insert(findings.end(), part.begin(), part.end());
    }
    return findings;
}

} // namespace velk::daemon
