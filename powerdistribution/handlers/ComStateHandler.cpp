#include "powerdistribution/handlers/ComStateHandler.h"

#include "powerdistribution/handlers/Rollback.h"

namespace velk::powerdistribution::handlers {

using velk::common::MutexLock;

namespace {

constexpr std::uint32_t LOST = 3;
constexpr std::uint32_t UNKNOWN = 4;

protocols::DataConfig configOf(const protocols::ValueWrapperPtr& wrapper) {
    return wrapper == nullptr ? protocols::DataConfig{} : wrapper->dataConfig();
}

} // namespace

ComStateHandler::ComStateHandler(const EPath& path, const velk::common::Uuid& uuid,
                                 const Factories& factories) :
    BaseHandler{path + ECommunicationStatus::State},
    connector{factories.connectorFactory.buildCommunicationStatusConnector(uuid)},
    wrapper{factories.wrapperFactory.buildWrapper(epath())}, //
    data{epath(), Value{LOST}, configOf(wrapper)},
    since{path, uuid, factories} {}

ComStateHandler::~ComStateHandler() = default;

void ComStateHandler::initialize() {
    MutexLock held{lock};
    connector->init();
    connector->load(data);
    since.initialize();
    publish(UNKNOWN);
}

void ComStateHandler::terminate() {
    MutexLock held{lock};
    publish(UNKNOWN);
}

void ComStateHandler::refresh() {
    MutexLock held{lock};
    if (wrapper == nullptr) {
        return;
    }
    const Value sample = wrapper->read();
    if (const auto* state = sample.getIf<std::uint32_t>()) {
        publish(*state);
    }
}

void ComStateHandler::publish(std::uint32_t state) {
    const Value value{state};
    if (data.value == value) {
        return;
    }
    Rollback published{data.value};
    data.value = value;
    connector->store(data);
    since.refresh();
    published.keep();
    notifyObservers(value);
}

} // namespace velk::powerdistribution::handlers
