#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/connectors/StoreTraffic.h"

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <unordered_map>

namespace velk::powerdistribution::connectors {

/// Keeps every connector alive as long as somebody holds a handle on it, and reaches them all until then.
/// Outlives every handle that it has given.
///
/// Threads: every operation may come from any thread.
class ConnectorContainer {
public:
    using Visitor = std::function<void(const ConnectorPtr&)>;

    ConnectorContainer();
    ConnectorContainer(const ConnectorContainer&) = delete;
    ConnectorContainer& operator=(const ConnectorContainer&) = delete;

    /// Takes over the owning handle and gives the caller's: a second one on the same object, whose last
    /// release takes the connector out of this container and destroys it.
    ConnectorPtr add(ConnectorPtr connector) VELK_EXCLUDES(lock);

    /// Takes the connector out and destroys it, which waits for its running callbacks; no lock is held then.
    void removeConnector(IConnector* connector) VELK_EXCLUDES(lock);

    /// Calls `visitor` for every connector in the order of addition, and gives it back. Throws
    /// std::bad_function_call for an empty one when there is a connector. The lock is held for the whole
    /// walk: `visitor` must neither call `add` nor drop the last handle of a connector.
    Visitor for_each(Visitor visitor) const VELK_EXCLUDES(lock);

    std::size_t size() const VELK_EXCLUDES(lock);

    /// What all connectors in this container share.
    const StoreTrafficPtr& traffic() const { return shared; }

private:
    mutable velk::common::Mutex lock;
    std::list<ConnectorPtr> connectors VELK_GUARDED_BY(lock); ///< in the order of addition
    /// Where each is in the list: a large tree has tens of thousands, which all go one by one.
    std::unordered_map<const IConnector*, std::list<ConnectorPtr>::iterator> places VELK_GUARDED_BY(lock);
    const StoreTrafficPtr shared;
};

} // namespace velk::powerdistribution::connectors
