#pragma once

#include "plugins/simulator/model/DeviceDescription.h"
#include "plugins/simulator/model/EventLog.h"
#include "plugins/simulator/model/Orders.h"
#include "plugins/simulator/model/PointInfo.h"
#include "plugins/simulator/model/PowerBalance.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace velk::simulator {

class Plant;

/// Who writes. The panel is the device's own: it is obeyed although remote control is switched off, and it
/// may give any point that nothing moves a value, also a status (a fan that fails, a door that opens).
enum class Origin : std::uint8_t { Remote, Panel };

/// A simulated power device: its electrical part, its settings and actions, its event log.
///
/// The same description, seed, steps and orders give the same values in every run. Time is the device's own:
/// it begins at the description's `start` and moves by steps alone.
///
/// Threads: none of its own; whoever shares it guards it with one lock.
class Model {
public:
    /// Throws `DeviceFileError` when the description fixes a point that the model moves.
    explicit Model(DeviceDescription description, std::uint32_t seed = 1);
    ~Model();
    Model(Model&&) noexcept;
    Model& operator=(Model&&) noexcept;

    /// Moves the device by one step.
    void step(std::chrono::milliseconds elapsed);

    /// The present value; empty when there is none now, when the path is not served, or for an action.
    /// The path is the text of the library, "Outlets.3.Measure.ActivePower".
    Value read(const std::string& path) const;

    /// Gives a setting its value or carries out an action. False: no such point, not to be written, another
    /// type than the point's, or a value that the device does not take. An action that takes a delay (int32,
    /// in seconds) also takes `true` and an empty value: with the device's own delay.
    /// "Private.InternalLogs.Private.LogChunk" takes the number behind which the next chunk begins.
    bool write(const std::string& path, const Value& value, Origin origin = Origin::Remote);

    /// The point, or null when it is not served. Valid until `setCounts`.
    const PointInfo* find(const std::string& path) const;

    /// Everything that is served.
    std::map<std::string, PointInfo> points() const;

    conv::UnixTime now() const;
    const DeviceDescription& description() const;

    /// The orders throw std::invalid_argument, which tells what was wrong, where and what was expected, and
    /// have changed nothing then. Their effect on computed values shows after the next step.
    void setMains(const MainsOrder& order);
    void setLoad(const LoadOrder& order);
    void setBattery(const BatteryOrder& order);
    void setIdentity(const IdentityOrder& order);

    /// How many "Inputs", "Outputs", "Branches", "Outlets", "Chargers" or "StorageModules" the device has
    /// from now on: 0 to what its file describes. What is beyond is not served and draws no power.
    void setCounts(const std::map<std::string, std::uint32_t>& counts);

    const EventLog& log() const;

    /// Appends events that mean nothing.
    void addLogEntries(std::uint32_t count);

    /// Appends as many as the ring holds, so that nothing older is left.
    void overwriteLog();

    /// Forgets all entries and numbers the next one 1.
    void restartLog();

    /// Of the last step.
    PowerBalance balance() const;

    /// The electrical part, for tests and commands that need more.
    const Plant& plant() const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};

} // namespace velk::simulator
