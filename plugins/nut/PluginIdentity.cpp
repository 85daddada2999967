#include "plugins/nut/PluginIdentity.h"

#include "plugins/nut/VariableWrapper.h"

namespace velk::nut {

bool hasOwnIdentity(const Snapshot& snapshot) {
    return firstValue(snapshot, MANUFACTURER_NAMES, decodeText).hasValue() &&
           firstValue(snapshot, MODEL_NAMES, decodeText).hasValue() &&
           firstValue(snapshot, SERIAL_NAMES, decodeSerialNumber).hasValue();
}

velk::common::Uuid addressIdentity(const NutConfiguration& configuration) {
    return velk::common::Uuid{PROTOCOL_UUID, configuration.deviceName()};
}

} // namespace velk::nut
