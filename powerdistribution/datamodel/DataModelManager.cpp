#include "powerdistribution/datamodel/DataModelManager.h"

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/handlers/publishedPoints.h"

#include <cstdint>
#include <exception>
#include <iostream>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace velk::powerdistribution::datamodel {

using velk::common::MutexLock;

namespace {

// The numbers of the communication state that are events.
constexpr std::uint32_t RECOVERED = 2;
constexpr std::uint32_t LOST = 3;

/// One line on the standard error, in one piece, because other threads write there too.
void report(std::string_view what, const std::exception& error) {
    std::ostringstream line;
    line << what << error.what() << '\n';
    std::cerr << line.str();
}

std::string failedTo(std::string_view operation, const EPath& path) {
    std::ostringstream text;
    text << "Failed to " << operation << ' ' << path << ", error: ";
    return text.str();
}

} // namespace

/// Turns the values of the communication state into the events of one listener.
/// Threads: any. `mutex` covers the call of the listener, so that `detach` waits for a running one.
class DataModelManager::ComStateAdapter : public handlers::IHandlerObserver {
public:
    explicit ComStateAdapter(CommunicationEventListener& eventListener) : listener{&eventListener} {}

    void onValueChanged(const Value& value) override VELK_EXCLUDES(mutex) {
        MutexLock held{mutex};
        const auto* state = value.getIf<std::uint32_t>();
        if (listener == nullptr || state == nullptr) {
            return;
        }
        if (*state == RECOVERED) {
            listener->onCommunicationRecovered();
        } else if (*state == LOST) {
            listener->onCommunicationLost();
        }
    }

    /// The listener is not called any more when it returns.
    void detach() VELK_EXCLUDES(mutex) {
        MutexLock held{mutex};
        listener = nullptr;
    }

private:
    velk::common::Mutex mutex;
    CommunicationEventListener* listener VELK_GUARDED_BY(mutex); ///< null once detached
};

DataModelManager::DataModelManager() : DataModelManager{Configuration{}} {}

DataModelManager::DataModelManager(const Configuration& configuration, velk::common::Clock& clock) :
    scheduler{configuration.maxThreads, configuration.maxCpuLoad, configuration.maxRestTime, clock} {}

DataModelManager::~DataModelManager() {
    // Before the adapter goes: a worker may be telling it something.
    scheduler.shutDown();
}

bool DataModelManager::build(const protocols::IWrapperFactory& wrapperFactory,
                             const connectors::IConnectorFactory& connectorFactory, const Builder& builder) {
    noteModel(false);
    try {
        const velk::common::Uuid rootUuid = connectorFactory.getRootParentUuid();
        const Factories factories{wrapperFactory, connectorFactory, &container};
        grouping = dynamic_cast<const connectors::IGroupingFactory*>(&connectorFactory);
        // An empty builder throws std::bad_function_call.
        HandlerPtr built;
        inGroups([&] { built = builder(EPath{}, rootUuid, factories); });
        root = std::move(built);
        container.emplace(root);
        if (const HandlerPtr comState = findComState(); comState != nullptr && comStateAdapter != nullptr) {
            comState->registerObserver(*comStateAdapter);
        }
        noteModel(true);
        return true;
    } catch (const std::exception& error) {
        report("Failed to build data model: ", error);
        noteModel(false, error.what());
        return false;
    }
}

bool DataModelManager::initialize() {
    try {
        inGroups([this] { initializeEach(); });
        // After a recovery the scheduler runs on with its tasks and their ranks.
        if (!scheduler.isInitialized()) {
            scheduler.initialize(container);
        }
        scheduler.noteAllRead();
        noteModel(true);
        return true;
    } catch (const std::exception& error) {
        report("Failed to initialize data model: ", error);
        noteModel(true, error.what());
        return false;
    }
}

void DataModelManager::inGroups(const std::function<void()>& work) {
    // After a recovery the workers are storing values too, which those that wait must not overtake.
    if (grouping != nullptr && !scheduler.isInitialized()) {
        grouping->inGroups(work);
    } else {
        work();
    }
}

void DataModelManager::initializeEach() {
    for (const auto& [path, handler] : container.all()) {
        // A handler that keeps the base's operation has nothing to do in it. Calling that empty operation is
        // the same as leaving it out.
        handler->initialize();
        handler->refresh();
    }
}

void DataModelManager::start() {
    scheduler.start();
}

void DataModelManager::stop() {
    scheduler.stop();
}

void DataModelManager::terminate() {
    scheduler.terminate();
    for (const auto& [path, handler] : container.all()) {
        try {
            handler->terminate();
        } catch (const std::exception& error) {
            report(failedTo("terminate", path), error);
        }
    }
}

void DataModelManager::clear() {
    terminate();
    noteModel(false);
    grouping = nullptr;
    container.clearAll();
}

void DataModelManager::updateServiceState() {
    if (root != nullptr) {
        root->refresh();
    }
}

void DataModelManager::updateCommunicationState() {
    for (const auto& [path, handler] : container.group<ECommunicationStatus>()) {
        try {
            handler->refresh();
        } catch (const std::exception& error) {
            report(failedTo("update", path), error);
        }
    }
}

void DataModelManager::subscribe(CommunicationEventListener& listener) {
    if (comStateAdapter == nullptr) {
        comStateAdapter = std::make_unique<ComStateAdapter>(listener);
    }
}

void DataModelManager::unsubscribe(CommunicationEventListener&) {
    if (comStateAdapter == nullptr) {
        return;
    }
    if (const HandlerPtr comState = findComState(); comState != nullptr) {
        comState->unregisterObserver(*comStateAdapter);
    }
    comStateAdapter->detach();
    detachedAdapters.push_back(std::move(comStateAdapter));
}

void DataModelManager::noteModel(bool built, const std::string& failure) {
    MutexLock held{describing};
    modelBuilt = built;
    modelFailure = failure;
}

PointDescription DataModelManager::describe(const std::string& point,
                                            const protocols::PointOrigins& origins) const {
    PointDescription description;
    Publishers found;
    {
        MutexLock held{describing};
        description.modelBuilt = modelBuilt;
        description.modelFailure = modelFailure;
        if (!modelBuilt) {
            return description;
        }
        found = publishersOf(point);
    }
    // Without the lock: a plug-in may take its time, and the lifecycle must not wait for it.
    for (const auto& [handler, kind] : found) {
        description.publishers.push_back(publisherOf(*handler, kind, origins));
    }
    return description;
}

DataModelManager::Publishers DataModelManager::publishersOf(const std::string& point) const {
    Publishers found;
    for (const auto& [path, handler] : container.all()) {
        for (const handlers::PublishedPoint& published : handlers::publishedPoints(*handler)) {
            if (published.name == point) {
                found.emplace_back(handler, published.kind);
            }
        }
    }
    return found;
}

PointPublisher DataModelManager::publisherOf(const handlers::IHandler& handler, const char* kind,
                                             const protocols::PointOrigins& origins) const {
    PointPublisher publisher;
    publisher.kind = kind;
    if (handlers::worksOnDevice(handler)) {
        protocols::PointOrigins::Origin origin = origins.of(handler.epath());
        publisher.plugin = std::move(origin.plugin);
        publisher.rule = std::move(origin.rule);
    }
    publisher.gaveNothing = handlers::gaveNothing(handler);
    if (std::optional<PollBook::Note> note = scheduler.noteOf(handler)) {
        publisher.rank = note->rank;
        publisher.reads = note->reads;
        publisher.sinceRead = note->sinceRead;
        publisher.period = note->period;
        publisher.failure = std::move(note->failure);
        publisher.sinceFailure = note->sinceFailure;
    }
    return publisher;
}

DataModelManager::HandlerPtr DataModelManager::findComState() const {
    const auto found = container.all().find(EPath{ECommunicationStatus::State});
    return found == container.all().end() ? nullptr : found->second;
}

} // namespace velk::powerdistribution::datamodel
