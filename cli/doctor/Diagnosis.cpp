#include "cli/doctor/Diagnosis.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace velk::cli {

std::string sizeText(double bytes) {
    constexpr std::array<const char*, 5> UNITS{"bytes", "KiB", "MiB", "GiB", "TiB"};
    std::size_t unit = 0;
    for (; bytes >= 1024.0 && unit + 1 < UNITS.size(); ++unit) {
        bytes /= 1024.0;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), unit == 0 || bytes >= 100.0 ? "%.0f %s" : "%.1f %s", bytes,
                  UNITS.at(unit));
    return text.data();
}

std::string spanText(double seconds) {
    if (seconds < 120.0) {
        return std::to_string(std::lround(seconds)) + " s";
    }
    if (seconds < 7'200.0) {
        return std::to_string(static_cast<long>(seconds / 60.0)) + " min";
    }
    return seconds < 172'800.0 ? std::to_string(static_cast<long>(seconds / 3'600.0)) + " h"
                               : std::to_string(static_cast<long>(seconds / 86'400.0)) + " d";
}

} // namespace velk::cli
