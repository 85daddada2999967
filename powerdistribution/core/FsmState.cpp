#include "powerdistribution/core/FsmState.h"

#include "powerdistribution/core/EnumText.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto fsmStateRows = std::to_array<EnumText<FsmState>>({
    {FsmState::BEGIN,                       "BEGIN"},
    {FsmState::DISCOVER,                    "DISCOVER"},
    {FsmState::ENUMERATE,                   "ENUMERATE"},
    {FsmState::BUILD,                       "BUILD"},
    {FsmState::INITIALIZE,                  "INITIALIZE"},
    {FsmState::START,                       "START"},
    {FsmState::MONITOR,                     "MONITOR"},
    {FsmState::COMMUNICATION_LOST,          "COMMUNICATION_LOST"},
    {FsmState::WAIT_COMMUNICATION_RECOVERY, "WAIT_COMMUNICATION_RECOVERY"},
    {FsmState::STOP,                        "STOP"},
    {FsmState::END,                         "END"},
});
// clang-format on

static_assert(areRowsWellFormed(fsmStateRows));

} // namespace

std::string to_string(FsmState state) {
    return findText(fsmStateRows, state);
}

} // namespace velk::powerdistribution
