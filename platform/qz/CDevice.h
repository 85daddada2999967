#pragma once

#include "platform/common/Uuid.h"

#include <array>
#include <cstdint>
#include <string>

namespace qz {

/// A device of the store as it was when it was read. A device that the store does not have has the all-ones
/// identifier and a nil Uuid.
struct CDevice {
    static constexpr std::size_t ATTRIBUTE_COUNT = 16;

    std::uint64_t id{~std::uint64_t{0}};
    velk::common::Uuid uuid;
    std::uint64_t parentId{~std::uint64_t{0}};           ///< 0 for the root
    std::array<std::string, ATTRIBUTE_COUNT> attributes; ///< by the numbers of tessapi::DeviceAttribute
};

} // namespace qz
