#pragma once

#include "plugins/simulator/model/DeviceDescription.h"
#include "plugins/simulator/model/ThermalMass.h"

#include <cstdint>
#include <optional>

namespace velk::simulator {

/// The energy storage: what is in it, what flows, how warm it is.
///
/// The energy in it changes by exactly what `charge` and `discharge` are told.
class Battery {
public:
    Battery(const BatteryDescription& description, double ambient);

    bool isPresent() const { return present; }
    bool isFailed() const { return failed; }
    void setPresent(bool value) { present = value; }
    void setFailed(bool value) { failed = value; }
    void setCharge(double percent) { energy = capacity() * percent / 100; }
    void setTemperature(double celsius);

    /// Some of its modules may be gone; the rest keeps its share of the energy.
    void setModules(std::uint32_t count);
    std::uint32_t modules() const { return moduleCount; }

    double capacity() const;                   ///< that it has left, in Wh
    double energyWh() const { return energy; } ///< in it now
    double stateOfCharge() const { return capacity() > 0 ? 100 * energy / capacity() : 0; }
    double stateOfHealth() const { return description.health; }

    /// Energy above `floorPercent` of the charge, in Wh; 0 when it cannot give any.
    double available(double floorPercent) const;

    void charge(double watts, double seconds);
    void discharge(double watts, double seconds);
    void rest() { flow = 0; }

    /// Moves its temperature.
    void step(double seconds);

    double watts() const { return flow; } ///< into it; negative: out of it
    double voltage() const;
    double current() const; ///< into it; negative: out of it
    double cellVoltage() const { return voltage() / description.cells; }
    double celsius() const { return heat.celsius(); }

    /// Full discharges so far, in parts and as a whole.
    double cycles() const { return discharged / description.capacityWh; }

private:
    BatteryDescription description;
    double ambient;
    std::uint32_t moduleCount;
    double energy;
    double flow{0};
    double discharged{0};
    bool present{true};
    bool failed{false};
    ThermalMass heat;
};

} // namespace velk::simulator
