#pragma once

#include "platform/common/Mutex.h"

namespace velk::powerdistribution::connectors {

/// Held shared by a connector from the moment it makes something in the store until it reports it as in use,
/// and alone while the store is cleaned of what is not: otherwise the cleaning would delete what was made in
/// between, and its dead identifier would be kept for ever.
///
/// One gate serves all connectors of a `ConnectorContainer`. Lock order: a handler's lock, the gate, the
/// container's lock, a connector's subscription lock, its channel lock, the expected channels, the write
/// group, the store.
using ResolvingGate = velk::common::SharedMutex;

} // namespace velk::powerdistribution::connectors
