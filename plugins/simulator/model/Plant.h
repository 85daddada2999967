#pragma once

#include "plugins/simulator/model/Battery.h"
#include "plugins/simulator/model/Branch.h"
#include "plugins/simulator/model/Charger.h"
#include "plugins/simulator/model/Converter.h"
#include "plugins/simulator/model/DeviceDescription.h"
#include "plugins/simulator/model/Input.h"
#include "plugins/simulator/model/Outlet.h"
#include "plugins/simulator/model/Output.h"
#include "plugins/simulator/model/PointTable.h"
#include "plugins/simulator/model/PowerBalance.h"
#include "plugins/simulator/model/TestRun.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::simulator {

/// Power by phase, from 0.
using PhasePowers = std::array<Power, MOST_PHASES>;

inline Power sumOf(const PhasePowers& powers) {
    return powers[0] + powers[1] + powers[2];
}

/// What stands at the outputs: by phase in V, 0 for none.
struct Feed {
    std::array<double, MOST_PHASES> voltage{};
    double frequency{0};

    bool isLive() const { return voltage[0] > 0 || voltage[1] > 0 || voltage[2] > 0; }
};

/// The electrical parts of a device, whatever its kind, and how the load spreads over them.
class Plant {
public:
    explicit Plant(const DeviceDescription& description);

    /// Lets every part take its settings from the table.
    void attach(const PointTable& points);

    /// What is switched on would draw, if it were fed.
    PhasePowers demand() const;

    /// Gives the outputs, branches and outlets this voltage, and tells what they draw together.
    PhasePowers feed(const Feed& feed);

    /// Lets a step's energy flow into the counters and its current into the breakers and the battery.
    void account(double seconds);
    void begin(const PeriodStarts& starts);

    /// The converter of that name; null where the device has none.
    Converter* converter(std::string_view name);

    /// The share by which the load differs in this step from what was ordered.
    double loadRipple{0};

    std::vector<Input> inputs;
    std::vector<Output> outputs;
    std::vector<Branch> branches;
    std::vector<Outlet> outlets;
    std::map<std::string, Converter, std::less<>> converters;
    std::optional<Battery> battery;
    std::optional<Charger> charger;
    std::optional<TestRun> test;
    PowerBalance balance; ///< of the last step

private:
    /// Whether the outlet would have voltage, were the outputs fed.
    bool isConnected(const Outlet& outlet) const;
    bool isFirstOutputOn() const;
    void feedOutlets(const Feed& feed);
    void feedOutputs(const Feed& feed);
    void feedBranches(const Feed& feed);

    template <typename Visitor>
    void visitCircuits(const Visitor& visit);

    PhasePowers atFirstOutput{};   ///< drawn by the outlets that no branch feeds
    std::vector<Power> atBranches; ///< drawn by the outlets of each branch
};

} // namespace velk::simulator
