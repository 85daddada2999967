#pragma once

#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/Factories.h"
#include "powerdistribution/handlers/ROValueHandler.h"
#include "powerdistribution/handlers/expectPoint.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace velk::powerdistribution::handlers {

/// The last member of a vocabulary enumeration that is walked; the first is 1.
template <typename E>
extern const E LAST_MEMBER;

template <>
inline constexpr EStatus LAST_MEMBER<EStatus> = EStatus::HealthState;
template <>
inline constexpr ESpecification LAST_MEMBER<ESpecification> = ESpecification::TrippedVoltageThreshold;
template <>
inline constexpr EMeasurement LAST_MEMBER<EMeasurement> = EMeasurement::Phase;
template <>
inline constexpr EAttribute LAST_MEMBER<EAttribute> = EAttribute::Vendor;
template <>
inline constexpr ESetting LAST_MEMBER<ESetting> = ESetting::WiringFaultEnabled;
template <>
inline constexpr EAction LAST_MEMBER<EAction> = EAction::SwitchOn;
template <>
inline constexpr EPrivateAction LAST_MEMBER<EPrivateAction> = EPrivateAction::SetProductName;

/// Makes and enters an `H` below `path` for each member of `E` that the device serves, in rising order. This
/// is the only place where the absence of a data point is decided, and it is silent. `args` go to each `H`
/// behind path, wrapper and connector.
///
/// Required: every number is asked for, also one that has no member (36 of `ESetting`).
template <typename E, typename H = ROValueHandler, typename... Args>
void generateHandlersFromEnum(const EPath& path, const connectors::ConnectorPtr& connector,
                              const Factories& factories, Args... args) {
    std::vector<std::pair<EPath, protocols::ValueWrapperPtr>> served;
    for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(LAST_MEMBER<E>); ++number) {
        EPath dataPoint = path + static_cast<E>(number);
        if (auto wrapper = factories.wrapperFactory.buildWrapper(dataPoint)) {
            served.emplace_back(std::move(dataPoint), std::move(wrapper));
        }
    }
    // The connector knows of all before the first handler uses one.
    for (const auto& [dataPoint, wrapper] : served) {
        expectPoint(*connector, dataPoint);
    }
    for (auto& [dataPoint, wrapper] : served) {
        factories.dataModel->emplace(std::make_shared<H>(dataPoint, std::move(wrapper), connector, args...));
    }
}

/// Settings: their initial value stays in the store.
void generateSettingHandlers(const EPath& path, const connectors::ConnectorPtr& connector,
                             const Factories& factories);

/// Actions: every write counts, and no initial value starts one.
void generateActionHandlers(const EPath& path, const connectors::ConnectorPtr& connector,
                            const Factories& factories);

/// Private actions: as actions.
void generatePrivateActionHandlers(const EPath& path, const connectors::ConnectorPtr& connector,
                                   const Factories& factories);

/// True when the device serves `path`.
bool isServed(const EPath& path, const Factories& factories);

} // namespace velk::powerdistribution::handlers
