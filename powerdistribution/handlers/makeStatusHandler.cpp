#include "powerdistribution/handlers/makeStatusHandler.h"

#include <utility>

namespace velk::powerdistribution::handlers {

std::shared_ptr<ROValueHandler> makeStatusHandler(const EPath& path, const velk::common::Uuid& uuid,
                                                  const Factories& factories) {
    connectors::ConnectorPtr connector = factories.connectorFactory.buildStatusConnector(uuid);
    protocols::ValueWrapperPtr wrapper = factories.wrapperFactory.buildWrapper(path);
    if (wrapper == nullptr) {
        return nullptr;
    }
    return std::make_shared<ROValueHandler>(path, std::move(wrapper), std::move(connector));
}

} // namespace velk::powerdistribution::handlers
