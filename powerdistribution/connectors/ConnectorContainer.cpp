#include "powerdistribution/connectors/ConnectorContainer.h"

#include <iterator>
#include <utility>

namespace velk::powerdistribution::connectors {

using velk::common::MutexLock;

ConnectorContainer::ConnectorContainer() : shared{std::make_shared<StoreTraffic>()} {}

ConnectorPtr ConnectorContainer::add(ConnectorPtr connector) {
    ConnectorPtr handle{connector.get(), [this](IConnector* released) { removeConnector(released); }};
    MutexLock held{lock};
    connectors.push_back(std::move(connector));
    places[handle.get()] = std::prev(connectors.end());
    return handle;
}

void ConnectorContainer::removeConnector(IConnector* connector) {
    ConnectorPtr owner;
    MutexLock held{lock};
    const auto place = places.find(connector);
    if (place == places.end()) {
        return;
    }
    // Destroyed behind the lock: the connector's end waits for callbacks, and those may come back here.
    owner = std::move(*place->second);
    connectors.erase(place->second);
    places.erase(place);
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
