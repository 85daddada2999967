#include "powerdistribution/connectors/TessDatabaseManager.h"

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "powerdistribution/connectors/ConnectorContainer.h"
#include "powerdistribution/connectors/TessConnectorFactory.h"

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace velk::powerdistribution::connectors {

namespace {

constexpr unsigned int noLimit = std::numeric_limits<std::int32_t>::max();

} // namespace

/// Destroyed in reverse order: the factory, the container, and last the client that they use.
struct TessDatabaseManager::Private {
    explicit Private(std::unique_ptr<tessapi::ITessAccessor> client) :
        accessor{std::move(client)},
        connectors{std::make_shared<ConnectorContainer>()},
        factory{*accessor, connectors} {}

    const std::unique_ptr<tessapi::ITessAccessor> accessor;
    const std::shared_ptr<ConnectorContainer> connectors;
    const TessConnectorFactory factory;
};

TessDatabaseManager::TessDatabaseManager(const std::string& name) :
    TessDatabaseManager{std::make_unique<tessapi::TessAccessor>(name, true)} {}

TessDatabaseManager::TessDatabaseManager(std::unique_ptr<tessapi::ITessAccessor> accessor) :
    d{std::make_unique<Private>(std::move(accessor))} {}

TessDatabaseManager::~TessDatabaseManager() = default;

const IConnectorFactory& TessDatabaseManager::connectorFactory() const {
    return d->factory;
}

void TessDatabaseManager::sanitize() {
    const velk::common::ExclusiveLock nobodyResolves{d->connectors->traffic()->gate};
    d->connectors->traffic()->devices.forget();
    TessResources inUse;
    d->connectors->for_each(
        [&inUse](const ConnectorPtr& connector) { inUse.add(connector->getResourcesInUse()); });
    std::vector<std::uint64_t> keep;
    keep.reserve(inUse.resources().size());
    for (const auto& [device, channels] : inUse.resources()) {
        keep.push_back(device);
    }
    for (const auto& [device, channels] : inUse.resources()) {
        d->accessor->removeAllSubDevicesExcept(device, keep, noLimit);
        d->accessor->inbandAccessor().removeAllChannelsExcept(device, channels);
    }
}

std::size_t TessDatabaseManager::size() const {
    return d->connectors->size();
}

} // namespace velk::powerdistribution::connectors
