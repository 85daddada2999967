#pragma once

// The codecs of the tables.

#include "plugins/nut/Codec.h"

namespace velk::nut {

inline Codec number() {
    return {decodeNumber, {}, {}};
}
inline Codec percent() {
    return {decodeCharge, {}, {}};
}
inline Codec temperature() {
    return {decodeTemperature, {}, {}};
}
inline Codec delay() {
    return {decodeDelay, {}, {}};
}
inline Codec flag() {
    return {decodeBool, {}, {}};
}
inline Codec source() {
    return {decodeSource, {}, {}};
}
inline Codec sensitivity() {
    return {decodeSensitivity, {"normal", "high", "low", "M", "H", "L"}, {}};
}
inline Codec beeper() {
    return {decodeBeeper,
            {"disabled", "enabled", "muted"},
            {{Value{std::uint32_t{1}}, {"beeper.disable", "beeper.off"}},
             {Value{std::uint32_t{2}}, {"beeper.enable", "beeper.on"}},
             {Value{std::uint32_t{3}}, {"beeper.mute"}}}};
}

} // namespace velk::nut
