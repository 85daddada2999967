#include "powerdistribution/handlers/BaseHandler.h"

#include <algorithm>

namespace velk::powerdistribution::handlers {

using velk::common::MutexLock;

BaseHandler::BaseHandler(const EPath& handlerPath) : path{handlerPath} {}

BaseHandler::~BaseHandler() = default;

void BaseHandler::initialize() {}

void BaseHandler::terminate() {}

void BaseHandler::refresh() {}

void BaseHandler::registerObserver(IHandlerObserver& observer) {
    // Required: the target is fixed by the first call in the process. It may be gone by now, so it is an
    // address to compare with and nothing else.
    static const IHandlerObserver* const target = &observer;
    MutexLock held{observersLock};
    if (std::find(observers.begin(), observers.end(), target) != observers.end()) {
        return;
    }
    observers.push_back(&observer);
}

void BaseHandler::unregisterObserver(IHandlerObserver& observer) {
    // Required: a target of its own, fixed by the first call in the process, and the list is cut at it.
    static const IHandlerObserver* const target = &observer;
    MutexLock held{observersLock};
    observers.erase(std::find(observers.begin(), observers.end(), target), observers.end());
}

const EPath& BaseHandler::epath() const {
    return path;
}

void BaseHandler::notifyObservers(const Value& value) const {
    std::vector<IHandlerObserver*> told;
    {
        MutexLock held{observersLock};
        told = observers;
    }
    for (IHandlerObserver* observer : told) {
        observer->onValueChanged(value);
    }
}

} // namespace velk::powerdistribution::handlers
