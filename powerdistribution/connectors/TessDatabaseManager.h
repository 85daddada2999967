#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/connectors/IDatabaseManager.h"

#include <cstddef>
#include <memory>
#include <string>

namespace tessapi {
class ITessAccessor;
}

namespace velk::powerdistribution::connectors {

/// Opens the store and owns everything that hangs on it. All handles on connectors are gone before it is.
///
/// Threads: `sanitize` on the state machine's thread, while workers may use their connectors; the factory on
/// any thread.
class VELK_EXPORT TessDatabaseManager final : public IDatabaseManager {
public:
    /// Opens the store that the environment names; `name` is the program's, for messages. Failures of the
    /// store client pass through.
    explicit TessDatabaseManager(const std::string& name);

    /// On a store client that is open already.
    explicit TessDatabaseManager(std::unique_ptr<tessapi::ITessAccessor> accessor);

    ~TessDatabaseManager() override;
    TessDatabaseManager(const TessDatabaseManager&) = delete;
    TessDatabaseManager& operator=(const TessDatabaseManager&) = delete;

    const IConnectorFactory& connectorFactory() const override;

    /// Deletes, under each device that a connector reports as in use, the sub-devices and channels that none
    /// reports. No connector resolves a channel meanwhile. Stops at the first failure of the store, which
    /// passes through.
    void sanitize() override;

    /// Number of connectors that are alive.
    std::size_t size() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace velk::powerdistribution::connectors
