#include "tests/platform/tessapi/faults/MeasuredValues.h"

#include "tests/platform/tessapi/faults/RandomWork.h"

#include <sstream>

namespace tessapi::faults {

namespace {

std::string textOf(const ChannelRecord& channel) {
    std::ostringstream out;
    out << channel.id << ' ' << channel.value << ' ' << channel.writtenMs << ' ' << channel.changedMs;
    return out.str();
}

} // namespace

void MeasuredValues::note(const StoreImage& image, std::int64_t copiedMs) {
    Stamps stamps;
    for (const auto& channel : image.content.channels) {
        if (isMeasured(channel)) {
            stamps[channel.id] = channel.writtenMs;
            ever.insert(textOf(channel));
        }
    }
    const auto call = written.size();
    written.push_back(std::move(stamps));
    onDisk.push_back(onDisk.empty() ? std::nullopt : onDisk.back());
    if (copiedMs != lastCopyMs) {
        // It began after the one before it had ended, which was before the call after which that was seen.
        if (lastCopyAt != 0) {
            onDisk.back() = lastCopyAt - 1;
        }
        lastCopyMs = copiedMs;
        lastCopyAt = call;
        ++seen;
    }
}

std::string MeasuredValues::problemOf(const StoreImage& found, std::int64_t call) const {
    const Stamps* sure = nullptr;
    if (call >= 0) {
        const auto& copied = onDisk.at(static_cast<std::size_t>(call));
        sure = copied ? &written.at(*copied) : nullptr;
    }
    std::string problems;
    for (const auto& channel : found.content.channels) {
        if (!isMeasured(channel)) {
            continue;
        }
        const auto text = textOf(channel);
        if (channel.value.isValid() && ever.count(text) == 0) {
            problems += "a value that never was: " + text + "\n";
        }
        if (sure != nullptr) {
            const auto stamp = sure->find(channel.id);
            if (stamp != sure->end() && channel.writtenMs < stamp->second) {
                problems += "a value that is older than its last copy: " + text + "\n";
            }
        }
    }
    return problems;
}

} // namespace tessapi::faults
