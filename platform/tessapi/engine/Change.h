#pragma once

#include "platform/qz/CValue.h"

#include <cstdint>

namespace tessapi {

/// One entry of the store's change log. A plain value.
struct Change {
    enum class Kind : std::uint32_t {
        value = 0,     ///< `object` is a channel, `value` what was written
        attribute = 1, ///< `object` is a device, `value` is invalid
        alarms = 2,    ///< `object` is a device, `value` the level of its most critical alarm as uint32
    };

    std::int64_t seq{0}; ///< rises by one with every entry
    Kind kind{Kind::value};
    std::uint64_t object{0};
    qz::CValue value;
    std::int64_t timeMs{0}; ///< milliseconds since 1970 UTC
    /// The listener has been given it before, or something else in its place: no write, but a reason to look
    /// at what is there.
    bool isRepeat{false};
};

} // namespace tessapi
