#pragma once

#include "platform/common/UnixTime.h"
#include "platform/common/lwjson/Deserializer.h"
#include "plugins/simulator/model/PointInfo.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velk::simulator {

enum class DeviceKind : std::uint8_t { OnlineUps, LineInteractiveUps, Ats, Pdu };

/// What a circuit is made for.
struct Rating {
    double voltage{230};     ///< between phase and neutral, in V
    double current{16};      ///< of each phase, in A
    double apparentPower{0}; ///< of all phases, in VA
    double activePower{0};   ///< of all phases, in W
};

struct InputDescription {
    std::uint32_t phases{1};
    double frequency{50};
    Rating rating;
};

struct OutputDescription {
    std::uint32_t phases{1};
    Rating rating;
    double watts{0}; ///< what hangs on the terminals themselves, spread over the phases
    double powerFactor{1};
};

struct BranchDescription {
    std::uint32_t phase{1};
    Rating rating; ///< of its breaker
};

/// Outlets hang on branch `branch`, or on the first output when that is 0.
struct OutletDescription {
    std::uint32_t phase{1};
    std::uint32_t branch{0};
    Rating rating;
    double watts{0};
    double powerFactor{1};
};

struct BatteryDescription {
    double capacityWh{0};
    double voltage{12}; ///< nominal, in V
    std::uint32_t cells{6};
    double charge{100};     ///< in percent, at the start
    double health{100};     ///< in percent of the capacity
    double chargePower{0};  ///< most that the chargers store together, in W
    double temperature{22}; ///< in °C; rises when current flows
    std::uint32_t chargers{1};
    std::uint32_t modules{1}; ///< storage modules or strings, all alike
    double testSeconds{10};
};

/// Losses in W: `standby` always, and shares of the rated output power that rise with the share of the load
/// and with its square; on a bypass only `bypass`, as a share of the load.
struct LossDescription {
    double standby{0};
    double linear{0};
    double square{0};
    double bypass{0};
};

struct ModuleDescription {
    std::uint32_t count{1};
    double apparentPower{0}; ///< of each
};

struct LogDescription {
    std::size_t capacity{200};
    std::size_t chunk{16};
};

/// A point that the file gives a value. Settings among them can be written.
struct DescribedPoint {
    Value value;
    PointInfo info;
    common::lwjson::Position position;
};

/// A device as its file tells it. A plain value.
struct DeviceDescription {
    std::string file;      ///< for messages
    std::string alarmFile; ///< absolute or as the path of the device file leads there; empty: none
    DeviceKind kind{DeviceKind::Pdu};
    conv::UnixTime start{1767225600}; ///< the device's clock at the start: 2026-01-01 00:00:00 UTC
    bool hasOwnStart{false};          ///< whether its file says `start`
    double ambient{22};               ///< temperature around the device, in °C
    double ripple{0};        ///< random share, in percent, by which mains and loads vary at each step
    double returnSeconds{3}; ///< how long the mains must be good before the device trusts them again

    std::vector<InputDescription> inputs;
    std::vector<OutputDescription> outputs;
    std::vector<BranchDescription> branches;
    std::vector<OutletDescription> outlets;
    std::vector<std::string> converters; ///< "Rectifier" …
    std::optional<BatteryDescription> battery;
    std::optional<ModuleDescription> modules;
    LossDescription losses;
    LogDescription log;

    std::map<std::string, DescribedPoint> points; ///< by path, every index written out
    std::vector<std::string> absent;              ///< paths that this device does not serve; "x" is any index
};

/// Reads a device file. Throws `DeviceFileError`, whose text begins with FILE:LINE:COLUMN, when it cannot be
/// read or does not describe a device.
DeviceDescription readDeviceFile(const std::filesystem::path& path);

} // namespace velk::simulator
