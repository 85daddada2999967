#pragma once

// The functions with which the tables of this plug-in are written. Names of variables and commands are
// patterns (see PathIndices). Each function serves a path only when the device has what it needs.

#include "plugins/nut/ActionStep.h"
#include "plugins/nut/AlarmThresholds.h"
#include "plugins/nut/Codec.h"
#include "plugins/nut/ComputedWrapper.h"
#include "plugins/nut/Decoders.h"
#include "plugins/nut/NutDevice.h"
#include "plugins/nut/Snapshot.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velk::nut {

using powerdistribution::protocols::BuildFunc;

/// What the functions build from: the argument of a walk is a pointer to it.
struct BuildContext {
    std::shared_ptr<NutDevice> device;
    std::shared_ptr<const Snapshot> shape; ///< what the device has; never null
    const AlarmThresholds& alarms;

    bool canSet(std::string_view variable) const {
        return device->canChange() && shape->capabilities->canSet(variable);
    }
};

using Names = std::vector<std::string>;

/// The first of the variables that means something now.
BuildFunc variable(Names names, Decode decode);
/// The same, but kept while the device cannot be reached: what it is, not how it is.
BuildFunc identity(Names names, Decode decode);
/// A limit of the device that may not be changed; not served where it may, since it is a setting there.
BuildFunc fixedLimit(const std::string& name, Decode decode);

/// A setting of the first of the variables that the device has; read-only where it may not be changed.
BuildFunc setting(Names names, Codec codec);
/// A setting that is served only where it may be changed.
BuildFunc changeableSetting(std::string name, Codec codec);

/// Worked out of the whole; served when the device has one of `needed`, or always when that is empty.
BuildFunc computed(Compute compute, Names needed = {});
/// Worked out of the whole and kept while the device cannot be reached; not served where it is empty.
BuildFunc structure(Compute compute);
/// A node without a value of its own, served when the device has such a part.
BuildFunc node(bool (*has)(const Snapshot& snapshot));
/// `function`, served when the device has such a part.
BuildFunc onlyWith(bool (*has)(const Snapshot& snapshot), BuildFunc function);

/// `function`, served for the items of a collection that counts so many.
BuildFunc item(std::uint32_t (*count)(const Snapshot& snapshot), BuildFunc function);

/// An action by the first of the steps that the device offers and that fits the delay asked for.
BuildFunc action(std::vector<ActionStep> steps);

// Not from the device.
BuildFunc alarmFile();
BuildFunc lastResortUuid();

} // namespace velk::nut
