#include "powerdistribution/core/EAction.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto actionRows = std::to_array<EnumText<EAction>>({
    {EAction::AbortTest,                      "Action.AbortTest"},
    {EAction::CancelSwitchOff,                "Action.CancelSwitchOff"},
    {EAction::CancelSwitchOffWithAutoRestart, "Action.CancelSwitchOffWithAutoRestart"},
    {EAction::CancelSwitchOn,                 "Action.CancelSwitchOn"},
    {EAction::StartTest,                      "Action.StartTest"},
    {EAction::SwitchOff,                      "Action.SwitchOff"},
    {EAction::SwitchOffWithAutoRestart,       "Action.SwitchOffWithAutoRestart"},
    {EAction::SwitchOn,                       "Action.SwitchOn"},
});
// clang-format on

static_assert(areRowsWellFormed(actionRows));

} // namespace

std::string to_string(EAction value) {
    return findText(actionRows, value);
}

} // namespace velk::powerdistribution
