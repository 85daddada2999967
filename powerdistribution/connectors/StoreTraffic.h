#pragma once

#include "powerdistribution/connectors/DeviceLookup.h"
#include "powerdistribution/connectors/ExpectedChannels.h"
#include "powerdistribution/connectors/ResolvingGate.h"
#include "powerdistribution/connectors/WriteGroup.h"

#include <memory>

namespace velk::powerdistribution::connectors {

/// What the connectors of one container share on their way to the store. Threads: those of its parts.
struct StoreTraffic {
    ResolvingGate gate;
    DeviceLookup devices;
    ExpectedChannels expected;
    WriteGroup writes;
};

using StoreTrafficPtr = std::shared_ptr<StoreTraffic>;

} // namespace velk::powerdistribution::connectors
