#include "powerdistribution/core/EPrivate.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto privateRows = std::to_array<EnumText<EPrivate>>({
    {EPrivate::AlarmConfigurationFile, "Private.AlarmConfigurationFile"},
    {EPrivate::InternalLogs,           "Private.InternalLogs"},
    {EPrivate::LogChunk,               "Private.LogChunk"},
    {EPrivate::LogTopId,               "Private.LogTopId"},
});
// clang-format on

static_assert(areRowsWellFormed(privateRows));

} // namespace

std::string to_string(EPrivate value) {
    return findText(privateRows, value);
}

} // namespace velk::powerdistribution
