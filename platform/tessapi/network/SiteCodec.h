#pragma once

#include "platform/qz/CAlarmTrigger.h"
#include "platform/qz/CDevice.h"
#include "platform/qz/CMultistateMap.h"
#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"
#include "platform/tessapi/AlarmEvent.h"
#include "platform/tessapi/WriteRecord.h"
#include "platform/tessapi/engine/Change.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessapi {

/// How the parts of a site are kept on the server; what the functions there (lua/) write and read. Reading
/// throws BadData for what they do not write.
namespace SiteCodec {

struct Row {
    qz::datatype type{qz::datatype::unknown};
    std::int64_t changedMs{0};
    std::int64_t seq{0};
    std::int64_t writtenMs{0};
    qz::CValue value;
};

struct ChannelInfo {
    std::uint64_t device{0};
    std::string description;
    std::string name;
};

using Trigger = std::pair<qz::CAlarmTrigger, bool>; ///< with whether it is active

/// One change, without its number.
std::string packChange(const Change& change);
/// Changes that follow each other and of which the last has the number `last`.
std::vector<Change> unpackChanges(std::string_view packed, std::int64_t last);

Row unpackRow(std::string_view packed);
ChannelInfo unpackInfo(std::string_view packed);

std::string packTriggers(const qz::tess::CSingleAlarmConfig& config);
std::vector<Trigger> unpackTriggers(std::string_view packed);

std::string packStates(const qz::CMultistateMap& states);
qz::CMultistateMap unpackStates(std::string_view packed);

std::string packEvent(const AlarmEvent& event);
AlarmEvent unpackEvent(std::int64_t number, std::string_view packed);

std::string packRecord(const WriteRecord& record);
WriteRecord unpackRecord(std::int64_t number, std::string_view packed);

/// A device without its attributes.
qz::CDevice unpackDevice(std::uint64_t id, std::string_view packed);

/// The number before the '-' of a stream's identifier.
std::int64_t numberOf(std::string_view streamId);

} // namespace SiteCodec

} // namespace tessapi
