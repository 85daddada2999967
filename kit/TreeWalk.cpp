#include "kit/TreeWalk.h"

#include <algorithm>
#include <array>

namespace velk::kit {

using powerdistribution::EAction;
using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::ECommunicationStatus;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::EPowerConverter;
using powerdistribution::EPrivate;
using powerdistribution::EPrivateAction;
using powerdistribution::EProperty;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;

namespace {

/// The last member of a vocabulary enumeration that the library asks for; the first is 1.
template <typename E>
constexpr E LAST{};
template <>
constexpr EAttribute LAST<EAttribute> = EAttribute::Vendor;
template <>
constexpr ESpecification LAST<ESpecification> = ESpecification::TrippedVoltageThreshold;
template <>
constexpr EStatus LAST<EStatus> = EStatus::HealthState;
template <>
constexpr EMeasurement LAST<EMeasurement> = EMeasurement::Phase;
template <>
constexpr ESetting LAST<ESetting> = ESetting::WiringFaultEnabled;
template <>
constexpr EAction LAST<EAction> = EAction::SwitchOn;
template <>
constexpr EPrivateAction LAST<EPrivateAction> = EPrivateAction::SetProductName;

constexpr std::array CONVERTERS{
    EPowerConverter::Rectifier,         EPowerConverter::DcBus, EPowerConverter::Inverter,
    EPowerConverter::AutomaticBypass, //
    EPowerConverter::MaintenanceBypass, EPowerConverter::Avr,   EPowerConverter::TransferSwitch,
};

} // namespace

std::optional<Family> familyOf(const EPath& path) {
    if (path.empty()) {
        return std::nullopt;
    }
    const EPath::Node& last = path.lastNode();
    // clang-format off
    if (last.holds<EAttribute>())           { return Family::Attribute; }
    if (last.holds<ESpecification>())       { return Family::Specification; }
    if (last.holds<EStatus>())              { return Family::Status; }
    if (last.holds<EMeasurement>())         { return Family::Measure; }
    if (last.holds<ESetting>())             { return Family::Setting; }
    if (last.holds<EAction>())              { return Family::Action; }
    if (last.holds<EPrivateAction>())       { return Family::PrivateAction; }
    if (last.holds<ECommunicationStatus>()) { return Family::Communication; }
    if (last.holds<EPrivate>())             { return Family::Private; }
    // clang-format on
    return std::nullopt;
}

void TreeWalk::run() {
    device();
    for (const ECircuit kind : {ECircuit::Inputs, ECircuit::Outputs, ECircuit::Branches, ECircuit::Outlets}) {
        circuits({kind});
    }
    const EPath modules{ECircuit::PowerModules};
    if (isThere(modules)) {
        generic(modules);
        generic(modules + ECircuit::Synchroniser);
    }
    converters();
    backup();
    generic({ECircuit::Connectivity});
    members<EPrivateAction>({ECircuit::Connectivity});
    note({EPrivate::AlarmConfigurationFile});
    note({EPrivate::InternalLogs, EPrivate::LogTopId});
    note({EPrivate::InternalLogs, EPrivate::LogChunk});
    const EPath environment{ECircuit::Environment};
    if (isThere(environment)) {
        generic(environment);
    }
}

bool TreeWalk::note(const EPath& path) {
    if (ask(path) == nullptr) {
        return false;
    }
    served.push_back(path);
    return true;
}

template <typename E>
bool TreeWalk::members(const EPath& node) {
    bool any = false;
    for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(LAST<E>); ++number) {
        any = note(node + static_cast<E>(number)) || any;
    }
    return any;
}

template <typename E>
EPath TreeWalk::firstOf(const EPath& node) const {
    for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(LAST<E>); ++number) {
        EPath path = node + static_cast<E>(number);
        if (ask(path) != nullptr) {
            return path;
        }
    }
    return {};
}

EPath TreeWalk::firstBelow(const EPath& node) const {
    for (const auto first :
         {&TreeWalk::firstOf<EStatus>, &TreeWalk::firstOf<EMeasurement>, &TreeWalk::firstOf<EAttribute>,
          &TreeWalk::firstOf<ESpecification>, &TreeWalk::firstOf<ESetting>, &TreeWalk::firstOf<EAction>}) {
        EPath path = (this->*first)(node);
        if (!path.empty()) {
            return path;
        }
    }
    return {};
}

void TreeWalk::device() {
    members<EAttribute>({EProperty::Identification});
    members<ESpecification>({});
    members<EStatus>({});
    members<ESetting>({});
    members<EAction>({});
    communication({});
    members<EPrivateAction>({});
}

bool TreeWalk::communication(const EPath& node) {
    const bool state = note(node + ECommunicationStatus::State);
    return note(node + ECommunicationStatus::Since) || state;
}

bool TreeWalk::generic(const EPath& node) {
    const std::array any{members<EAttribute>(node),   members<ESpecification>(node), members<EStatus>(node),
                         members<EMeasurement>(node), members<ESetting>(node),       members<EAction>(node)};
    return std::find(any.begin(), any.end(), true) != any.end();
}

bool TreeWalk::circuit(const EPath& node) {
    const bool own = generic(node);
    return collection(node + ECircuit::Phases, [this](const EPath& phase) { return generic(phase); }) || own;
}

bool TreeWalk::collection(const EPath& path, const Item& item) {
    Collection found{path, false, std::nullopt, {}, {}};
    const EPath countPath = path + EAttribute::Count;
    if (const auto wrapper = ask(countPath)) {
        found.hasCount = true;
        found.count = readCount(countPath, *wrapper);
        served.push_back(countPath);
    }
    const std::uint32_t told = found.count.value_or(0);
    const std::uint32_t items = told > MOST_ITEMS ? 1 : told;
    for (std::uint32_t index = 1; index <= items; ++index) {
        if (!item(path + index)) {
            found.empty.push_back(index);
        }
    }
    if (items == told) {
        found.beyond = firstBelow(path + (items + 1));
    }
    const bool isSomething = found.hasCount || !found.beyond.empty();
    if (isSomething) {
        collections.push_back(std::move(found));
    }
    return isSomething;
}

bool TreeWalk::circuits(const EPath& path) {
    return collection(path, [this](const EPath& item) { return circuit(item); });
}

bool TreeWalk::isThere(const EPath& node) {
    if (ask(node) != nullptr) {
        return true;
    }
    EPath below = firstBelow(node);
    if (!below.empty()) {
        hidden.push_back({node, std::move(below)});
    }
    return false;
}

void TreeWalk::converters() {
    const EPath node{ECircuit::PowerConverters};
    const bool areThere = ask(node) != nullptr;
    for (const EPowerConverter kind : CONVERTERS) {
        const EPath converter = node + kind;
        if (!areThere) {
            const bool isServed = ask(converter) != nullptr;
            EPath below = isServed ? converter : firstBelow(converter);
            if (!below.empty()) {
                hidden.push_back({node, std::move(below)});
                return;
            }
        } else if (isThere(converter)) {
            circuit(converter);
            note(converter + ECommunicationStatus::State);
            circuits(converter + ECircuit::Branches);
        }
    }
}

void TreeWalk::backup() {
    const EPath system{ECircuit::BackupSystem};
    const EPath bank = system + ECircuit::PowerBank;
    generic(system);
    generic(bank);
    communication(bank);
    circuits(bank + ECircuit::Chargers);
    circuits(bank + ECircuit::StorageModules);
}

} // namespace velk::kit
