#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"

namespace velk::powerdistribution::handlers {

/// The power device itself, and the main branch of the tree. Its own path is `path` followed by
/// `PowerDistribution`, but all its parts hang below `path`.
class PowerDistributionHandler final : public BaseHandler {
public:
    /// `parentUuid` is the store device of the equipment; the device's own Uuid comes from the device. A
    /// device that gives none, or that sits in its bootloader, keeps the one that the store knows.
    PowerDistributionHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                             const Factories& factories);
    ~PowerDistributionHandler() override;

private:
    void resolveUuid(const Factories& factories);
    const velk::common::Uuid& uuid() const;
    void generateDataPoints(const EPath& path, const Factories& factories) const;
    void emplaceCircuits(const EPath& path, const Factories& factories) const;
    void emplacePrivateActions(const EPath& path, const Factories& factories) const;

    /// Makes and enters a `T` below the device.
    template <typename T>
    void emplace(const EPath& path, const Factories& factories) const;
    /// Likewise, if the device serves `path`.
    template <typename T>
    void emplaceIfServed(const EPath& path, const Factories& factories) const;

    connectors::ConnectorPtr connector; ///< kept, so that the store device counts as in use
    HandlerData uuidData;
};

} // namespace velk::powerdistribution::handlers
