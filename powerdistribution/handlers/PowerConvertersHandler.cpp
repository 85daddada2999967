#include "powerdistribution/handlers/PowerConvertersHandler.h"

#include "powerdistribution/handlers/HandlerGenerators.h"
#include "powerdistribution/handlers/PowerConverterHandler.h"

namespace velk::powerdistribution::handlers {

using velk::common::Uuid;

namespace {

// The order along the power path.
constexpr EPowerConverter KINDS[] = {
    EPowerConverter::Rectifier,         EPowerConverter::DcBus, EPowerConverter::Inverter,
    EPowerConverter::AutomaticBypass, //
    EPowerConverter::MaintenanceBypass, EPowerConverter::Avr,   EPowerConverter::TransferSwitch,
};

} // namespace

PowerConvertersHandler::PowerConvertersHandler(const EPath& path, const Uuid& parentUuid,
                                               const Factories& factories) :
    BaseHandler{path},
    connector{factories.connectorFactory.buildConnector(parentUuid)},
    uuidData{path, Value{Uuid{parentUuid, path.nodesToString()}}, {}} {
    connector->store(uuidData);
    emplaceConverters(factories);
}

PowerConvertersHandler::~PowerConvertersHandler() = default;

void PowerConvertersHandler::emplaceConverters(const Factories& factories) const {
    const Uuid& uuid = uuidData.value.get<Uuid>();
    for (const EPowerConverter kind : KINDS) {
        EPath converter = epath() + kind;
        if (isServed(converter, factories)) {
            factories.dataModel->emplace<PowerConverterHandler>(std::move(converter), uuid, factories);
        }
    }
}

} // namespace velk::powerdistribution::handlers
