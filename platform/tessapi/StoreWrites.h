#pragma once

#include "platform/qz/CMultistateMap.h"
#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/DeviceAttribute.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tessapi {

/// Writes that are made at once: all of one kind in their order, and the kinds in the order of the members.
/// What each of them means is told at the operation of InBandAccessor that makes it alone. A plain value.
struct StoreWrites {
    struct Attribute {
        std::uint64_t device{0};
        DeviceAttribute attribute{DeviceAttribute::unused};
        std::string text;
    };

    std::vector<Attribute> attributes;
    std::vector<std::pair<std::uint64_t, qz::tess::CSingleAlarmConfig>> alarmConfigs; ///< by channel
    std::vector<std::pair<std::uint64_t, qz::CMultistateMap>> states;                 ///< likewise
    std::vector<std::pair<std::uint64_t, qz::CValue>> values;                         ///< likewise

    std::size_t size() const {
        return attributes.size() + alarmConfigs.size() + states.size() + values.size();
    }
    bool empty() const { return size() == 0; }
};

} // namespace tessapi
