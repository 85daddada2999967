#include "powerdistribution/handlers/ComputedStatusHandler.h"

#include "powerdistribution/handlers/Rollback.h"

namespace velk::powerdistribution::handlers {

ComputedStatusHandler::ComputedStatusHandler(const EPath& path, const velk::common::Uuid& uuid,
                                             const Factories& factories) :
    BaseHandler{path + EStatus::OperatingStatus},
    connector{factories.connectorFactory.buildStatusConnector(uuid)},
    data{epath(), Value{}, {}} {}

ComputedStatusHandler::~ComputedStatusHandler() = default;

void ComputedStatusHandler::refresh() {
    velk::common::MutexLock held{lock};
    const std::optional<std::uint32_t> status = decide();
    if (!status.has_value() || data.value == Value{*status}) {
        return;
    }
    Rollback published{data.value};
    data.value = Value{*status};
    connector->store(data);
    published.keep();
}

protocols::ValueWrapperPtr ComputedStatusHandler::buildComState(const EPath& path,
                                                                const Factories& factories) {
    const protocols::IWrapperFactory& device = factories.wrapperFactory;
    protocols::ValueWrapperPtr own = device.buildWrapper(path + ECommunicationStatus::State);
    return own != nullptr ? std::move(own) : device.buildWrapper({ECommunicationStatus::State});
}

} // namespace velk::powerdistribution::handlers
