#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "powerdistribution/connectors/IGroupingFactory.h"
#include "powerdistribution/core/CommunicationEventListener.h"
#include "powerdistribution/core/Configuration.h"
#include "powerdistribution/core/PointDescription.h"
#include "powerdistribution/datamodel/DataModelContainer.h"
#include "powerdistribution/datamodel/DataModelScheduler.h"
#include "powerdistribution/handlers/Factories.h"
#include "powerdistribution/protocols/PointOrigins.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velk::powerdistribution::datamodel {

/// The one object through which the lifecycle drives the data model: its tree, the index of it, and the
/// scheduler that polls it. Also the bridge by which a change of the communication reaches the lifecycle.
///
/// The order in use is `subscribe`, `build`, `initialize`, `start`, then `stop`, and `clear` or `terminate`;
/// after a loss of communication again from `initialize`, or from `clear` and `build` for another device.
///
/// Threads: every operation on the thread of the lifecycle. `build`, `clear` and `subscribe` only while the
/// scheduler is stopped. The listener hears on whichever thread refreshed the communication state.
class DataModelManager {
public:
    using HandlerPtr = std::shared_ptr<handlers::IHandler>;
    using Builder =
        std::function<HandlerPtr(const EPath& path, const velk::common::Uuid& uuid, const Factories&)>;

    /// All default values of the configuration.
    DataModelManager();

    /// `clock` is what the scheduler goes by, and outlives this object.
    explicit DataModelManager(const Configuration& configuration,
                              velk::common::Clock& clock = velk::common::Clock::system());

    /// Stops the scheduler first and joins its workers; then lets go of everything else. Does not terminate
    /// the handlers. Never throws.
    ~DataModelManager();
    DataModelManager(const DataModelManager&) = delete;
    DataModelManager& operator=(const DataModelManager&) = delete;

    /// Builds the tree with `builder`, from the empty path and the store's root device. False when a standard
    /// exception ended that, told on the standard error as "Failed to build data model: " and its text; what
    /// was entered in the index until then stays there. `wrapperFactory` is not kept; `connectorFactory`
    /// lives as long as the handlers.
    bool build(const protocols::IWrapperFactory& wrapperFactory,
               const connectors::IConnectorFactory& connectorFactory, const Builder& builder);

    /// Initialises and refreshes every handler once, in the order of their paths; then gives them to the
    /// scheduler, unless it has them already. False when a standard exception ended that, told on the
    /// standard error as "Failed to initialize data model: " and its text.
    bool initialize();

    void start();
    void stop();

    /// Discards the scheduler, then terminates every handler, in the order of their paths. A handler that
    /// fails is told on the standard error as "Failed to terminate ", its path, ", error: " and the text, and
    /// passed over.
    void terminate();

    /// Terminates, then forgets the handlers. Required: those in a group, or of no group, live on in their
    /// index, so `updateCommunicationState` and the scheduler still see them after the next build.
    void clear();

    /// Publishes the service state; nothing before the first build.
    void updateServiceState();

    /// Refreshes the communication states, in the order of their paths. A handler that fails is told on the
    /// standard error as "Failed to update ", its path, ", error: " and the text, and passed over.
    void updateCommunicationState();

    /// The first subscriber stays. Delivers from the next `build` on.
    void subscribe(CommunicationEventListener& listener);

    /// Ends whatever subscription there is. The listener is not called any more when it returns.
    void unsubscribe(CommunicationEventListener& listener);

    /// What publishes the data point that people write as `point`: "Inputs.1.Measure.Voltage". `origins`
    /// tells where it comes from. Threads: any.
    PointDescription describe(const std::string& point, const protocols::PointOrigins& origins) const
        VELK_EXCLUDES(describing);

    /// The index of the handlers, to look at.
    const DataModelContainer& handlers() const { return container; }

private:
    class ComStateAdapter;
    using Publishers = std::vector<std::pair<HandlerPtr, const char*>>;

    HandlerPtr findComState() const;
    /// Runs `work`; what it writes may reach the store in groups when no worker is running.
    void inGroups(const std::function<void()>& work);
    void initializeEach();
    void noteModel(bool built, const std::string& failure = {}) VELK_EXCLUDES(describing);
    /// Handlers that publish a point of this name, and of what kind it is there.
    Publishers publishersOf(const std::string& point) const VELK_REQUIRES(describing);
    PointPublisher publisherOf(const handlers::IHandler& handler, const char* kind,
                               const protocols::PointOrigins& origins) const;

    // In the order whose reverse lets go rightly.

    /// Adapters that were unsubscribed. Handlers may still know them, so they stay until the handlers are
    /// gone.
    std::vector<std::unique_ptr<ComStateAdapter>> detachedAdapters;
    HandlerPtr root; ///< null before the first build
    /// The one of the connectors that the handlers hold; null when it does not group.
    const connectors::IGroupingFactory* grouping{nullptr};
    DataModelContainer container;
    DataModelScheduler scheduler;
    std::unique_ptr<ComStateAdapter> comStateAdapter; ///< null without subscriber

    mutable velk::common::Mutex describing;
    /// While it is true the index does not change, so that whoever holds `describing` may walk it.
    bool modelBuilt VELK_GUARDED_BY(describing){false};
    std::string modelFailure VELK_GUARDED_BY(describing); ///< of the last `build` or `initialize`
};

} // namespace velk::powerdistribution::datamodel
