#pragma once

#include "platform/common/Export.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/core/Value.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <string>

namespace velk::powerdistribution {

/// Which device the data model was built for. A plain value.
struct DeviceIdentifier {
    velk::common::Uuid uuid;     ///< nil when the device cannot be told from others
    std::string firmwareVersion; ///< empty when the device does not tell
};

namespace handlers {

// Who the device is. Wrappers are built and thrown away within one call; only an exception that is not
// derived from std::exception passes out, but for `buildAndRead`.

/// What the wrapper of `path` reads, which may be empty. Throws std::runtime_error "attribute missing: " and
/// the path's text when the device does not serve it.
VELK_EXPORT Value buildAndRead(const protocols::IWrapperFactory& factory, const EPath& path);

/// True when `Status.BootloaderMode` reads as a bool that is true.
VELK_EXPORT bool isBootloaderMode(const protocols::IWrapperFactory& factory);

/// `Identification`.`Attribute.FirmwareVersion`; empty when the device does not give a string.
VELK_EXPORT std::string getFirmwareVersion(const protocols::IWrapperFactory& factory);

/// The `Attribute.Uuid` that the device reports; otherwise `buildEmulatedDeviceUuid`.
VELK_EXPORT velk::common::Uuid getDeviceUuid(const protocols::IWrapperFactory& factory);

/// An identity from manufacturer, product name and serial number, the same at every start. A device in its
/// bootloader, which cannot give its serial number, gets a fixed one. Nil when a part is empty, silently, and
/// when one fails or is no string, with one line on the standard error: "WARNING - Unable to build an
/// emulated UUID: exception " and the reason.
VELK_EXPORT velk::common::Uuid buildEmulatedDeviceUuid(const protocols::IWrapperFactory& factory);

} // namespace handlers
} // namespace velk::powerdistribution
