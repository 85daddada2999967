#pragma once

#include "powerdistribution/connectors/IConnector.h"

namespace velk::powerdistribution::handlers {

/// Tells the connector, if it wants to know, that a handler of the data point at `path` is about to be made;
/// see `IExpectingConnector`.
void expectPoint(connectors::IConnector& connector, const EPath& path);

} // namespace velk::powerdistribution::handlers
