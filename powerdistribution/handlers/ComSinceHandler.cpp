#include "powerdistribution/handlers/ComSinceHandler.h"

namespace velk::powerdistribution::handlers {

ComSinceHandler::ComSinceHandler(const EPath& path, const velk::common::Uuid& uuid,
                                 const Factories& factories) :
    BaseHandler{path + ECommunicationStatus::Since},
    connector{factories.connectorFactory.buildCommunicationStatusConnector(uuid)},
    wrapper{factories.wrapperFactory.buildWrapper(epath())}, //
    data{epath(), Value{conv::UnixTime::now()}, {}} {}

ComSinceHandler::~ComSinceHandler() = default;

void ComSinceHandler::initialize() {
    connector->init();
    connector->load(data);
}

void ComSinceHandler::terminate() {}

void ComSinceHandler::refresh() {
    conv::UnixTime time = conv::UnixTime::now();
    if (wrapper != nullptr) {
        const Value sample = wrapper->read();
        if (const auto* deviceTime = sample.getIf<conv::UnixTime>()) {
            time = *deviceTime;
        }
    }
    data.value = Value{time};
    connector->store(data);
}

} // namespace velk::powerdistribution::handlers
