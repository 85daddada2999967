#include "powerdistribution/handlers/RWValueHandler.h"

#include "powerdistribution/handlers/subscribeOrLeave.h"

#include <utility>

namespace velk::powerdistribution::handlers {

using velk::common::MutexLock;

RWValueHandler::RWValueHandler(const EPath& path, protocols::ValueWrapperPtr exclusiveWrapper,
                               connectors::ConnectorPtr sharedConnector, bool notifyInitialValue) :
    ROValueHandler{path, std::move(exclusiveWrapper), std::move(sharedConnector)} {
    // Last, because callbacks may come from here on.
    subscribeOrLeave(*connector, data, this, {false, notifyInitialValue});
}

RWValueHandler::~RWValueHandler() {
    // First, and without the lock, because it waits for a callback that may be waiting for the lock. It reads
    // the path of `data` alone, which never changes.
    connector->unsubscribe(data, this);
}

void RWValueHandler::loadValue() {
    HandlerData stored = data;
    connector->load(stored); // resolves the channel in any case
    if (!data.value.hasValue()) {
        data.value = stored.value;
    }
}

void RWValueHandler::refresh() {
    MutexLock held{lock};
    readAndStore();
}

void RWValueHandler::onConnectorValueChange(const HandlerData& incoming) {
    MutexLock held{lock};
    if (holdsValueOf(incoming)) {
        return;
    }
    takeValue(incoming);
    if (wrapper->write(incoming.value)) {
        readAndStore();
    }
}

} // namespace velk::powerdistribution::handlers
