#include "powerdistribution/core/ECommunicationStatus.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto communicationStatusRows = std::to_array<EnumText<ECommunicationStatus>>({
    {ECommunicationStatus::State, "CommunicationStatus.State"},
    {ECommunicationStatus::Since, "CommunicationStatus.Since"},
});
// clang-format on

static_assert(areRowsWellFormed(communicationStatusRows));

} // namespace

std::string to_string(ECommunicationStatus value) {
    return findText(communicationStatusRows, value);
}

} // namespace velk::powerdistribution
