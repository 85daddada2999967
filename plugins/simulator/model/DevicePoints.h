#pragma once

#include "plugins/simulator/model/DeviceDescription.h"
#include "plugins/simulator/model/EventLog.h"
#include "plugins/simulator/model/EventWatch.h"
#include "plugins/simulator/model/Plant.h"
#include "plugins/simulator/model/PointTable.h"
#include "plugins/simulator/model/PowerPath.h"
#include "plugins/simulator/model/SimulatedClock.h"

#include <cstdint>
#include <map>
#include <string>

namespace velk::simulator {

class Ups;

/// The device as a whole: its points, its events, and how many items of each collection are there.
class DevicePoints {
public:
    /// Enters all computed points and actions into the table. Everything that is handed over lives as long.
    DevicePoints(const DeviceDescription& description, PointTable& points, Plant& plant, PowerPath& path,
                 SimulatedClock& clock, EventLog& log);

    /// Has the conditions watched that are events.
    void watch(EventWatch& events) const;

    /// Moves what is slow: temperatures, and since when the mode holds.
    void step(double seconds);

    /// Throws std::invalid_argument.
    void setCounts(const std::map<std::string, std::uint32_t>& counts);

private:
    void publishRoot();
    void publishCollections();
    void publishCount(const std::string& collection, std::size_t most);
    void publishUps();
    void publishLog();
    void publishConnectivity();

    /// Takes away, or brings back, the parts by the counts.
    void applyCounts();

    /// Whether the item that the path goes through, if any, is among those that are there.
    bool isThere(const std::string& name) const;

    const DeviceDescription& description;
    PointTable& points;
    Plant& plant;
    PowerPath& path;
    SimulatedClock& clock;
    EventLog& log;
    Ups* ups; ///< the path, where the device is a UPS

    struct Count {
        std::uint32_t most;
        std::uint32_t now;
    };
    std::map<std::string, Count> counts; ///< by the collection's path

    ThermalMass heat;
    powerdistribution::Mode lastMode{};
    conv::UnixTime since;
    Knob<float> surroundings; ///< temperature around the device, in °C
    std::uint32_t chunkStart{0};
    std::map<std::string, std::string> toldFacts; ///< what the host has told the device of itself
};

} // namespace velk::simulator
