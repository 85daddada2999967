#include "plugins/simulator/model/MemberTypes.h"

#include "powerdistribution/core/Vocabulary.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <unordered_map>

namespace velk::simulator {

using powerdistribution::EAction;
using powerdistribution::EAttribute;
using powerdistribution::EMeasurement;
using powerdistribution::EnumList;
using powerdistribution::EPrivate;
using powerdistribution::EPrivateAction;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;

namespace {

struct Member {
    PointType type;
    std::vector<std::uint32_t> states;
};
using Members = std::unordered_map<std::string, Member>;

struct Exception {
    std::string_view member;
    PointType type;
};

// What is not of its family's usual type.
// clang-format off
constexpr auto EXCEPTIONS = std::to_array<Exception>({
    {"Measure.CyclesCount",                      PointType::Uint32},
    {"Measure.PartialCumulatedEnergyStartDate",  PointType::Time},
    {"Measure.RemainingTime",                    PointType::Uint32},
    {"Specification.Chemistry",                  PointType::Text},
    {"Specification.ConnectorType",              PointType::Text},
    {"Specification.ExternalCount",              PointType::Uint32},
    {"Specification.Feed",                       PointType::Text},
    {"Specification.Internal",                   PointType::Bool},
    {"Specification.PowerCycleDuration",         PointType::Uint32},
    {"Specification.Switchable",                 PointType::Bool},
    {"Specification.Technology",                 PointType::Text},
    {"Setting.AutomaticRestartEnabled",          PointType::Bool},
    {"Setting.AutomaticSleepDelay",              PointType::Int32},
    {"Setting.AutomaticSwitchOnDelay",           PointType::Int32},
    {"Setting.AutomaticSwitchOffDelay",          PointType::Int32},
    {"Setting.BypassTransferEnabled",            PointType::Bool},
    {"Setting.DeepDischargeProtectionEnabled",   PointType::Bool},
    {"Setting.ForcedRebootDuration",             PointType::Int32},
    {"Setting.ForcedRebootEnabled",              PointType::Bool},
    {"Setting.ForcedTransferEnabled",            PointType::Bool},
    {"Setting.FrequencyConverterEnabled",        PointType::Bool},
    {"Setting.HighEfficiencyEnabled",            PointType::Bool},
    {"Setting.NoStorageModeEnabled",             PointType::Bool},
    {"Setting.OutOfToleranceTransferEnabled",    PointType::Bool},
    {"Setting.RemoteControlEnabled",             PointType::Bool},
    {"Setting.RedundancyLevel",                  PointType::Uint32},
    {"Setting.WiringFaultEnabled",               PointType::Bool},
    {"Status.BmsFailure",                        PointType::Uint32},
    {"Status.DelayBeforeSwitchOff",              PointType::Int32},
    {"Status.DelayBeforeSwitchOn",               PointType::Int32},
    {"Status.LastTestResultDate",                PointType::Time},
    {"Status.LastSuccessfulTestDate",            PointType::Time},
    {"Status.LcmInstallationDate",               PointType::Time},
    {"Status.LcmReplacementDate",                PointType::Time},
    {"Status.Since",                             PointType::Time},
    {"Status.Source",                            PointType::Uint32},
    {"Status.State",                             PointType::Uint32},
    {"Status.SupplierPowerQuality",              PointType::Uint32},
    {"Status.TestStatus",                        PointType::Uint32},
    {"Status.OperatingStatus",                   PointType::Uint32},
    {"Status.HealthState",                       PointType::Uint32},
    {"Attribute.Count",                          PointType::Uint32},
    {"Attribute.CurrentDate",                    PointType::Time},
    {"Action.SwitchOff",                         PointType::Int32},
    {"Action.SwitchOffWithAutoRestart",          PointType::Int32},
    {"Action.SwitchOn",                          PointType::Int32},
    {"PrivateAction.SetDate",                    PointType::Time},
    {"Private.LogChunk",                         PointType::Log},
    {"Private.LogTopId",                         PointType::Uint32},
});
// clang-format on

PointType typeOf(std::string_view member, PointType usual) {
    const auto row = std::find_if(EXCEPTIONS.begin(), EXCEPTIONS.end(),
                                  [&](const Exception& exception) { return exception.member == member; });
    return row == EXCEPTIONS.end() ? usual : row->type;
}

template <typename E>
std::vector<std::uint32_t> statesOf(E member) {
    std::vector<std::uint32_t> states;
    if constexpr (requires { GetEnumList(member); }) {
        if (const EnumList* list = GetEnumList(member); list != nullptr) {
            for (const auto& [label, number] : *list) {
                states.push_back(number);
            }
        }
    }
    return states;
}

/// All members of one enumeration, up to the last one.
template <typename E>
void enter(Members& members, E last, PointType usual) {
    for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(last); ++number) {
        const auto member = static_cast<E>(number);
        const std::string text = to_string(member);
        auto states = statesOf(member);
        const PointType type = states.empty() ? typeOf(text, usual) : PointType::Uint32;
        members.emplace(text, Member{type, std::move(states)});
    }
    members.erase("UNKNOWN");
}

const Members& allMembers() {
    static const Members members = [] {
        Members all;
        enter(all, EMeasurement::Phase, PointType::Float);
        enter(all, ESpecification::TrippedVoltageThreshold, PointType::Float);
        enter(all, ESetting::WiringFaultEnabled, PointType::Float);
        enter(all, EStatus::HealthState, PointType::Bool);
        enter(all, EAttribute::Vendor, PointType::Text);
        enter(all, EAction::SwitchOn, PointType::Bool);
        enter(all, EPrivate::LogTopId, PointType::Text);
        enter(all, EPrivateAction::SetProductName, PointType::Text);
        return all;
    }();
    return members;
}

constexpr auto FAMILIES = std::to_array<std::string_view>(
    {"Measure", "Specification", "Setting", "Status", "Attribute", "Action", "Private", "PrivateAction"});

} // namespace

std::optional<PointType> memberType(std::string_view member) {
    const auto found = allMembers().find(std::string{member});
    return found == allMembers().end() ? std::nullopt : std::optional{found->second.type};
}

std::vector<std::uint32_t> memberStates(std::string_view member) {
    const auto found = allMembers().find(std::string{member});
    return found == allMembers().end() ? std::vector<std::uint32_t>{} : found->second.states;
}

PathText splitPath(std::string_view path) {
    std::size_t begin = 0;
    while (begin < path.size()) {
        const std::size_t end = std::min(path.find('.', begin), path.size());
        if (std::find(FAMILIES.begin(), FAMILIES.end(), path.substr(begin, end - begin)) != FAMILIES.end()) {
            return {std::string{path.substr(0, begin == 0 ? 0 : begin - 1)}, std::string{path.substr(begin)}};
        }
        begin = end + 1;
    }
    return {std::string{path}, {}};
}

std::string joinPath(std::string_view node, std::string_view member) {
    std::string path{node};
    if (!node.empty() && !member.empty()) {
        path += '.';
    }
    return path.append(member);
}

std::vector<std::string> nodesOf(std::string_view path) {
    std::vector<std::string> nodes;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('.'), path.size());
        nodes.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return nodes;
}

std::optional<std::uint32_t> indexOf(std::string_view node) {
    std::uint32_t index = 0;
    const auto [stop, failure] = std::from_chars(node.data(), node.data() + node.size(), index);
    return failure == std::errc{} && stop == node.data() + node.size() ? std::optional{index} : std::nullopt;
}

} // namespace velk::simulator
