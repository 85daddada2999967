#include "powerdistribution/handlers/PowerConverterHandler.h"

#include "powerdistribution/handlers/CollectionHandler.h"
#include "powerdistribution/handlers/ComputedStatusHandler.h"
#include "powerdistribution/protocols/StatusTests.h"

namespace velk::powerdistribution::handlers {

namespace {

// The types of converter that the decision looks at, by what is special about them.
constexpr std::uint32_t MAY_BE_IDLE = 2;   ///< can be supplied without supplying
constexpr std::uint32_t MAY_BE_ABSENT = 4; ///< need not be there, and is in service once switched on

// Operating statuses.
constexpr std::uint32_t UNKNOWN = 0;
constexpr std::uint32_t NOT_PRESENT = 1;
constexpr std::uint32_t STOPPED = 5;
constexpr std::uint32_t SUPPLIED_ONLY = 7;
constexpr std::uint32_t IN_SERVICE = 16;

/// The operating status of a converter.
class OperatingStatusHandler final : public ComputedStatusHandler {
public:
    OperatingStatusHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories) :
        ComputedStatusHandler{path, uuid, factories},
        comState{buildComState(path, factories)},
        supply{factories.wrapperFactory.buildWrapper(path + EStatus::Supply)},
        supplied{factories.wrapperFactory.buildWrapper(path + EStatus::Supplied)},
        type{factories.wrapperFactory.buildWrapper(path + ESpecification::Type)},
        switchedOn{factories.wrapperFactory.buildWrapper(path + EStatus::SwitchedOn)},
        present{factories.wrapperFactory.buildWrapper(path + EStatus::Present)} {}

private:
    /// What the data points told in one round; empty where the device has no such data point.
    struct Sample {
        std::optional<bool> supply;
        std::optional<bool> supplied;
        std::optional<std::uint32_t> type;
        std::optional<bool> switchedOn;
        std::optional<bool> present;
    };

    std::optional<std::uint32_t> decide() const override {
        const Sample now{readAs<bool>(supply), readAs<bool>(supplied), readAs<std::uint32_t>(type),
                         readAs<bool>(switchedOn), readAs<bool>(present)};
        if (!isComplete(now)) {
            return std::nullopt;
        }
        return isComOk(comState) ? decide(now) : UNKNOWN;
    }

    /// Every data point that exists gave its value.
    bool isComplete(const Sample& now) const {
        return now.supply.has_value() == (supply != nullptr) &&
               now.supplied.has_value() == (supplied != nullptr) &&
               now.type.has_value() == (type != nullptr) &&
               now.switchedOn.has_value() == (switchedOn != nullptr) &&
               now.present.has_value() == (present != nullptr);
    }

    static std::uint32_t decide(const Sample& now) {
        if (now.present == false && now.type == MAY_BE_ABSENT) {
            return NOT_PRESENT;
        }
        if (now.supplied == true && now.type == MAY_BE_IDLE && now.supply == false) {
            return SUPPLIED_ONLY;
        }
        if (now.supply == true) {
            return IN_SERVICE;
        }
        if (now.present == true && now.switchedOn == true && now.type == MAY_BE_ABSENT) {
            return IN_SERVICE;
        }
        return STOPPED;
    }

    const protocols::ValueWrapperPtr comState;
    const protocols::ValueWrapperPtr supply;
    const protocols::ValueWrapperPtr supplied;
    const protocols::ValueWrapperPtr type;
    const protocols::ValueWrapperPtr switchedOn;
    const protocols::ValueWrapperPtr present;
};

} // namespace

PowerConverterHandler::PowerConverterHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                                             const Factories& factories) :
    CircuitHandler{path, parentUuid, factories} {
    factories.dataModel->emplace(std::make_shared<OperatingStatusHandler>(path, uuid(), factories));
    factories.dataModel->emplace(
        std::make_shared<CollectionHandler<CircuitHandler>>(path + ECircuit::Branches, uuid(), factories, 1));
}

PowerConverterHandler::~PowerConverterHandler() = default;

} // namespace velk::powerdistribution::handlers
