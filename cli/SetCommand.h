#pragma once

#include "cli/DeviceRequest.h"
#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <string>

namespace velk::cli {

/// `set PATH VALUE`: asks the device to take a setting, shows the old and the new value and waits for the
/// outcome. A value that the setting has already is not asked for again, as the device would not be told;
/// with `options.force` it is when the store holds it only as unconfirmed.
ExitCode runSet(Session& session, const std::string& path, const std::string& value,
                const RequestOptions& options);

} // namespace velk::cli
