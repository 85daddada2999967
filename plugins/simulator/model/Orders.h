#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velk::simulator {

/// What can be ordered, both ends included.
struct OrderRange {
    double least;
    double most;
};

inline constexpr OrderRange MAINS_VOLTAGE{0, 1000};        // V
inline constexpr OrderRange MAINS_FREQUENCY{1, 1000};      // Hz
inline constexpr OrderRange LOAD_WATTS{0, 1e7};            // W
inline constexpr OrderRange LOAD_PERCENT{0, 1000};         // %
inline constexpr OrderRange BATTERY_CHARGE{0, 100};        // %
inline constexpr OrderRange BATTERY_TEMPERATURE{-60, 150}; // °C

/// What the mains do. Sag and swell are 20 % below and above the nominal voltage; Normal takes back every
/// voltage and frequency that was ordered.
enum class MainsState : std::uint8_t { Lost, Normal, Sag, Swell };

/// "lost", "normal", "sag", "swell"; nothing for any other text.
std::optional<MainsState> mainsStateOf(std::string_view text);

/// A change of the mains. What is absent stays as it is; without input or phase: all of them.
struct MainsOrder {
    std::optional<std::uint32_t> input; ///< from 1
    std::optional<std::uint32_t> phase; ///< from 1
    std::optional<MainsState> state;
    std::optional<double> voltage;   ///< between phase and neutral, in V
    std::optional<double> frequency; ///< in Hz; the phases of an input share it
};

/// A change of the load: of an outlet, of an output, or of one phase of the device. Exactly one of `watts`
/// and `percent` (of what the place is rated for). The load of an output or a phase is spread over the
/// outlets there that are switched on, by what each is rated for; without such outlets it hangs on the
/// terminals.
struct LoadOrder {
    std::optional<std::uint32_t> outlet; ///< from 1
    std::optional<std::uint32_t> output; ///< from 1
    std::optional<std::uint32_t> phase;  ///< from 1
    std::optional<double> watts;
    std::optional<double> percent;
};

/// A change of the battery. What is absent stays as it is.
struct BatteryOrder {
    std::optional<double> charge; ///< in percent of what it can hold
    std::optional<bool> failed;
    std::optional<bool> present;
    std::optional<double> temperature; ///< from here on, in °C
};

/// Another device, or the same with other firmware. What is absent stays as it is.
struct IdentityOrder {
    std::optional<std::string> serialNumber;
    std::optional<std::string> firmwareVersion;
    std::optional<std::string> uuid;
    std::optional<std::string> model;
};

} // namespace velk::simulator
