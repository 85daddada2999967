#include "powerdistribution/connectors/ConnectorContainer.h"

#include <algorithm>
#include <utility>

namespace velk::powerdistribution::connectors {

using velk::common::MutexLock;

ConnectorContainer::ConnectorContainer() : gate{std::make_shared<ResolvingGate>()} {}

ConnectorPtr ConnectorContainer::add(ConnectorPtr connector) {
    ConnectorPtr handle{connector.get(), [this](IConnector* released) { removeConnector(released); }};
    MutexLock held{lock};
    connectors.push_back(std::move(connector));
    return handle;
}

void ConnectorContainer::removeConnector(IConnector* connector) {
    ConnectorPtr owner;
    MutexLock held{lock};
    const auto entry = std::find_if(connectors.begin(), connectors.end(), [&](const ConnectorPtr& candidate) {
        return candidate.get() == connector;
    });
    if (entry == connectors.end()) {
        return;
    }
    // Destroyed behind the lock: the connector's end waits for callbacks, and those may come back here.
    owner = std::move(*entry);
    connectors.erase(entry);
}

ConnectorContainer::Visitor ConnectorContainer::for_each(Visitor visitor) const {
    MutexLock held{lock};
    for (const ConnectorPtr& connector : connectors) {
        visitor(connector);
    }
    return visitor;
}

std::size_t ConnectorContainer::size() const {
    MutexLock held{lock};
    return connectors.size();
}

} // namespace velk::powerdistribution::connectors
