#include "cli/WriterNote.h"

#include "cli/JournalEntry.h"
#include "cli/ValueText.h"
#include "platform/tessapi/InBandAccessor.h"

#include <array>
#include <nlohmann/json.hpp>
#include <pwd.h>
#include <string>
#include <unistd.h>

namespace velk::cli {

namespace {

constexpr const char* WRITER_CHANNEL = "Daemon.Writer";

} // namespace

std::string ownUser() {
    constexpr std::size_t spaceForNames = 4096;
    std::array<char, spaceForNames> space{};
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, space.data(), space.size(), &found) == 0 && found != nullptr) {
        return found->pw_name;
    }
    return "user " + std::to_string(getuid());
}

void announceWriter(tessapi::ITessAccessor& store, const Point& point, const qz::CValue& value,
                    std::int64_t nowMs) {
    tessapi::InBandAccessor& inband = store.inbandAccessor();
    const std::uint64_t device = store.deviceIdOf(JournalEntry::deviceUuid());
    const std::uint64_t channel = inband.getCatchedChannelId(device, WRITER_CHANNEL);
    if (channel == tessapi::ITessAccessor::UNKNOWN_ID) {
        return;
    }
    const nlohmann::ordered_json note{{"device", point.devicePath},
                                      {"channel", point.name},
                                      {"asked", plainText(value)},
                                      {"program", WRITER_PROGRAM},
                                      {"user", ownUser()},
                                      {"pid", getpid()},
                                      {"timeMs", nowMs}};
    inband.setChannelCValue(
        channel, qz::CValue{note.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)});
}

} // namespace velk::cli
