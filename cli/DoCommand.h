#pragma once

#include "cli/DeviceRequest.h"
#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velk::cli {

/// `do PATH ACTION`: starts an action ("SwitchOff", also "Action.SwitchOff") of a part of the device; "." is
/// the device itself. `delaySeconds` is for the actions that take a delay (0 without) and refused for the
/// others. Before a load would lose power the person is asked, unless `options.yes`; where nobody can be
/// asked it is refused.
ExitCode runDo(Session& session, const std::string& path, const std::string& action,
               std::optional<std::int32_t> delaySeconds, const RequestOptions& options);

} // namespace velk::cli
