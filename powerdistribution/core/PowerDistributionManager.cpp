#include "powerdistribution/core/PowerDistributionManager.h"

#include "powerdistribution/core/Context.h"
#include "powerdistribution/core/Lifecycle.h"
#include "powerdistribution/core/StateMachine.h"

#include <iostream>

namespace velk::powerdistribution {

using lifecycle::LifecycleState;

/// The running lifecycle: the context and where the machine stands.
class PowerDistributionManager::Private : public Context {
public:
    // A worker may still tell of the link; it must find this object whole, so the model goes first.
    ~Private() override { dataModelManager.reset(); }

    void exec(Attributes&& attributes);
    PointDescription describe(const std::string& point) const VELK_EXCLUDES(describing);

private:
    mutable velk::common::Mutex describing;
    /// Null before there is one; lives as long as this object.
    const datamodel::DataModelManager* model VELK_GUARDED_BY(describing){nullptr};
    const LifecycleState* state{&lifecycle::BEGIN};
};

void PowerDistributionManager::Private::exec(Attributes&& attributes) {
    onDeviceWrite = std::move(attributes.onDeviceWrite);
    onDeviceLog = std::move(attributes.onDeviceLog);
    onServiceState = std::move(attributes.onServiceState);
    const Configuration configuration = Configuration::load(attributes.path);
    protocolsManager = std::make_unique<protocols::ProtocolsManager>(configuration);
    dataModelManager = std::make_unique<datamodel::DataModelManager>(configuration);
    dataModelManager->subscribe(*this);
    {
        const velk::common::MutexLock lock{describing};
        model = dataModelManager.get();
    }

    velk::common::Clock& clock =
        attributes.clock != nullptr ? *attributes.clock : velk::common::Clock::system();
    state = &lifecycle::BEGIN;
    runStateMachine<Context>(*this, state, lifecycle::COMMUNICATION_LOST, lifecycle::STOP, clock);

    dataModelManager->unsubscribe(*this);
}

PointDescription PowerDistributionManager::Private::describe(const std::string& point) const {
    const velk::common::MutexLock lock{describing};
    return model == nullptr ? PointDescription{} : model->describe(point, origins);
}

PowerDistributionManager::PowerDistributionManager() = default;

PowerDistributionManager::~PowerDistributionManager() = default;

void PowerDistributionManager::exec(Attributes&& attributes) {
    {
        const velk::common::MutexLock one{creation};
        if (owned) {
            return;
        }
        owned = std::make_unique<Private>();
        published = owned.get();
    }
    published.load()->exec(std::move(attributes));
}

void PowerDistributionManager::exit() {
    Private* running = published;
    if (running == nullptr) {
        return;
    }
    std::cout << std::string{"Exit PowerDistributionManager state machine is requested\n"} << std::flush;
    running->exitRequested = true;
}

std::uint32_t PowerDistributionManager::operatingStatus() const {
    const Private* running = published;
    if (running == nullptr || running->serviceStateWrapper == nullptr) {
        return 0;
    }
    const Value value = running->serviceStateWrapper->read();
    const auto* state = value.getIf<std::uint32_t>();
    return state != nullptr ? *state : 0;
}

PointDescription PowerDistributionManager::describe(const std::string& point) const {
    const Private* running = published;
    return running == nullptr ? PointDescription{} : running->describe(point);
}

} // namespace velk::powerdistribution
