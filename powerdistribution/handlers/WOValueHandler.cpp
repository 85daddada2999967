#include "powerdistribution/handlers/WOValueHandler.h"

#include "powerdistribution/handlers/subscribeOrLeave.h"

#include <utility>

namespace velk::powerdistribution::handlers {

using velk::common::MutexLock;

WOValueHandler::WOValueHandler(const EPath& path, protocols::ValueWrapperPtr exclusiveWrapper,
                               connectors::ConnectorPtr sharedConnector, bool everyUpdate,
                               bool notifyInitialValue) :
    BaseValueHandler{path, std::move(exclusiveWrapper), std::move(sharedConnector)},
    notifyEveryUpdate{everyUpdate} {
    // Last, because callbacks may come from here on.
    subscribeOrLeave(*connector, data, this, {notifyEveryUpdate, notifyInitialValue});
}

WOValueHandler::~WOValueHandler() {
    // First, and without the lock, because it waits for a callback that may be waiting for the lock. It reads
    // the path of `data` alone, which never changes.
    connector->unsubscribe(data, this);
}

void WOValueHandler::refresh() {}

void WOValueHandler::onConnectorValueChange(const HandlerData& incoming) {
    MutexLock held{lock};
    if (!notifyEveryUpdate && holdsValueOf(incoming)) {
        return;
    }
    // Unlike a setting, the value is kept only after the device took it.
    if (wrapper->write(incoming.value)) {
        takeValue(incoming);
    }
}

} // namespace velk::powerdistribution::handlers
