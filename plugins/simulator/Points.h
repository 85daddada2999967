#pragma once

#include "plugins/simulator/AlarmThresholds.h"
#include "plugins/simulator/world/DeviceLink.h"
#include "powerdistribution/protocols/RuleFunctions.h"
#include "powerdistribution/protocols/RuleTable.h"

#include <memory>
#include <vector>

/// What the rows of the tables are made of, beside the functions of the toolkit.
namespace velk::simulator {

using powerdistribution::EPath;
using powerdistribution::protocols::BuildFunc;
using powerdistribution::protocols::Rule;
using powerdistribution::protocols::RuleRow;
using powerdistribution::protocols::ValueWrapperPtr;

using Rows = std::vector<RuleRow>;

/// What the functions of the tables get to know, as the argument of the walk.
struct BuildContext {
    std::shared_ptr<DeviceLink> link;
    std::shared_ptr<const Shape> shape; ///< what the device has
    const AlarmThresholds& alarms;      ///< of the factory, which outlives the walk
};

// Build functions. All give null for a path that the device does not have, and for one with ranges or
// any-index nodes, which no single data point answers.

/// The data point as the device has it: a measure, a status, a setting, an action. Empty while the device
/// cannot be reached.
ValueWrapperPtr own(const Rule::BuildFuncParameters& parameters);

/// The same for what tells which device this is and how it is built: while the device cannot be reached it
/// keeps its last value, since a device does not become another one by being away.
ValueWrapperPtr remembered(const Rule::BuildFuncParameters& parameters);

/// A setting. One from which the alarm file takes a threshold is kept like what is `remembered`, and not
/// served when it has no value, because the library takes a threshold without a value for a failure.
ValueWrapperPtr setting(const Rule::BuildFuncParameters& parameters);

/// A node of the tree without a value: served when the device has any data point below the path.
ValueWrapperPtr node(const Rule::BuildFuncParameters& parameters);

/// The alarm file, when there is a good one.
ValueWrapperPtr alarmFile(const Rule::BuildFuncParameters& parameters);

/// The pieces of the device's event log: writing a number says behind which event the next piece begins.
ValueWrapperPtr logChunk(const Rule::BuildFuncParameters& parameters);

/// Whether the device waits for firmware, which every device can say.
ValueWrapperPtr bootloaderMode(const Rule::BuildFuncParameters& parameters);

/// The data point `member` beside the path asked for: an operand.
BuildFunc beside(EPath::Node member);

/// The data point `member` of the node that owns the collection in which the path lies, when the collection
/// has a single item: the values of a single-phase circuit are those of its only phase.
BuildFunc ofOwner(EPath::Node member);

/// Lets a derived value be empty while the device cannot be reached, for wrappers of the toolkit that are
/// never empty themselves.
BuildFunc whileConnected(BuildFunc function);

/// Appends one row a member, all with the same function.
template <typename Members>
void serve(Rows& rows, const EPath& node, const Members& members, const BuildFunc& function) {
    for (const auto member : members) {
        rows.push_back({node + member, function});
    }
}

} // namespace velk::simulator
