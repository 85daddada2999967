#include "powerdistribution/handlers/PowerBankHandler.h"

#include "powerdistribution/handlers/CircuitHandler.h"
#include "powerdistribution/handlers/CollectionHandler.h"
#include "powerdistribution/handlers/CommunicationStatusHandler.h"
#include "powerdistribution/handlers/ComputedStatusHandler.h"
#include "powerdistribution/handlers/HandlerGenerators.h"
#include "powerdistribution/protocols/StatusTests.h"

namespace velk::powerdistribution::handlers {

namespace {

constexpr std::uint32_t NO_STORAGE_MODE = 3;  ///< of `Status.StoragePresent`
constexpr std::uint32_t TEST_IN_PROGRESS = 1; ///< of `Status.TestStatus`

// Operating statuses.
constexpr std::uint32_t UNKNOWN = 0;
constexpr std::uint32_t NOT_PRESENT = 1;
constexpr std::uint32_t STOPPED = 5;
constexpr std::uint32_t UNDER_TEST = 14;
constexpr std::uint32_t IN_SERVICE = 16;

/// The operating status of a power bank.
class OperatingStatusHandler final : public ComputedStatusHandler {
public:
    OperatingStatusHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories) :
        ComputedStatusHandler{path, uuid, factories},
        supply{factories.wrapperFactory.buildWrapper(path + EStatus::Supply)},
        bmsFailure{factories.wrapperFactory.buildWrapper(path + EStatus::BmsFailure)},
        testStatus{factories.wrapperFactory.buildWrapper(path + EStatus::TestStatus)},
        comState{buildComState(path, factories)},
        storagePresent{factories.wrapperFactory.buildWrapper(path + EStatus::StoragePresent)} {}

private:
    std::optional<std::uint32_t> decide() const override {
        const auto storage = readAs<std::uint32_t>(storagePresent);
        const auto test = readAs<std::uint32_t>(testStatus);
        if (storage == NO_STORAGE_MODE) {
            return NOT_PRESENT;
        }
        if (!isComOk(comState)) {
            return UNKNOWN;
        }
        // Required: the bank's failure status is asked whether it says "on battery".
        if (isBoolStatus(supply) || isOnBattery(bmsFailure)) {
            return IN_SERVICE;
        }
        return test == TEST_IN_PROGRESS ? UNDER_TEST : STOPPED;
    }

    const protocols::ValueWrapperPtr supply;
    const protocols::ValueWrapperPtr bmsFailure;
    const protocols::ValueWrapperPtr testStatus;
    const protocols::ValueWrapperPtr comState;
    const protocols::ValueWrapperPtr storagePresent;
};

} // namespace

PowerBankHandler::PowerBankHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                                   const Factories& factories) :
    GenericHandler{path, parentUuid, factories} {
    using Circuits = CollectionHandler<CircuitHandler>;
    datamodel::DataModelContainer& model = *factories.dataModel;
    model.emplace(std::make_shared<OperatingStatusHandler>(path, uuid(), factories));
    model.emplace(std::make_shared<CommunicationStatusHandler>(path, uuid(), factories));
    // Required: the settings are there already, on the connector of the generic part; these are second ones.
    generateSettingHandlers(path, factories.connectorFactory.buildSettingConnector(uuid()), factories);
    model.emplace(std::make_shared<Circuits>(path + ECircuit::Chargers, uuid(), factories, 1));
    model.emplace(std::make_shared<Circuits>(path + ECircuit::StorageModules, uuid(), factories, 1));
}

PowerBankHandler::~PowerBankHandler() = default;

} // namespace velk::powerdistribution::handlers
