#include "powerdistribution/protocols/ProxyRules.h"

#include "powerdistribution/core/Paths.h"
#include "powerdistribution/protocols/OperatingStatusModeWrapper.h"
#include "powerdistribution/protocols/OperatingStatusWrapper.h"
#include "powerdistribution/protocols/RuleFunctions.h"
#include "powerdistribution/protocols/RuleTable.h"
#include "powerdistribution/protocols/ServiceStateWrapper.h"
#include "powerdistribution/protocols/StorageModuleInServiceWrapper.h"

#include <memory>
#include <utility>

namespace velk::powerdistribution::protocols {

namespace {

// What these functions ask for passes through the whole proxy again. A wrapper that the device does not have
// is kept as null: the derived statuses know what to make of it.

using Parameters = Rule::BuildFuncParameters;

ValueWrapperPtr atRoot(const Parameters& parameters, const EPath::Node& node) {
    return parameters.factory.buildWrapper({node});
}

ValueWrapperPtr beside(const Parameters& parameters, const EPath::Node& node) {
    return parameters.factory.buildWrapper(parameters.path.parent() + node);
}

ValueWrapperPtr communication(const Parameters& parameters) {
    return atRoot(parameters, ECommunicationStatus::State);
}

ValueWrapperPtr buildServiceState(const Parameters& /*parameters*/) {
    return std::make_unique<ServiceStateWrapper>();
}

ValueWrapperPtr buildOperatingStatusFromMode(const Parameters& parameters) {
    auto mode = atRoot(parameters, EStatus::Mode);
    return std::make_unique<OperatingStatusModeWrapper>(std::move(mode), communication(parameters));
}

ValueWrapperPtr buildInputOperatingStatus(const Parameters& parameters) {
    auto supplied = beside(parameters, EStatus::Supplied);
    return std::make_unique<OperatingStatusWrapper>(std::move(supplied), communication(parameters));
}

ValueWrapperPtr buildSupplyOperatingStatus(const Parameters& parameters) {
    auto supply = beside(parameters, EStatus::Supply);
    return std::make_unique<OperatingStatusWrapper>(std::move(supply), communication(parameters));
}

ValueWrapperPtr buildStorageModuleOperatingStatus(const Parameters& parameters) {
    auto supply = beside(parameters, EStatus::Supply);
    auto mode = atRoot(parameters, EStatus::Mode);
    auto inService = std::make_unique<StorageModuleInServiceWrapper>(std::move(supply), std::move(mode));
    return std::make_unique<OperatingStatusWrapper>(std::move(inService), communication(parameters));
}

} // namespace

const std::vector<Rule>& beforeRules() {
    using enum ECircuit;
    using enum EStatus;
    // clang-format off
    static const std::vector<Rule> rules = growRules({
        {{PowerEquipment,                                      OperatingStatus}, buildServiceState},
        {{PowerDistribution,                                   OperatingStatus}, buildOperatingStatusFromMode},
        {{Inputs,                                  oneTo(2),   OperatingStatus}, buildInputOperatingStatus},
        {{Outputs,                                 oneTo(128), OperatingStatus}, buildSupplyOperatingStatus},
        {{Outlets,                                 oneTo(128), OperatingStatus}, buildSupplyOperatingStatus},
        {{BackupSystem, PowerBank, Chargers,       oneTo(128), OperatingStatus}, buildSupplyOperatingStatus},
        {{BackupSystem, PowerBank, StorageModules, oneTo(128), OperatingStatus}, buildStorageModuleOperatingStatus},
    });
    // clang-format on
    return rules;
}

const std::vector<Rule>& afterRules() {
    // Not the good state, which is 2: a protocol that does not tell leaves its device without communication.
    static const std::vector<Rule> rules = growRules({
        {{ECommunicationStatus::State}, make_static<unsigned int>(4)},
    });
    return rules;
}

} // namespace velk::powerdistribution::protocols
