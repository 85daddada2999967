#include "powerdistribution/core/EProperty.h"

namespace velk::powerdistribution {

namespace {

// clang-format off
constexpr auto propertyRows = std::to_array<EnumText<EProperty>>({
    {EProperty::Identification, "Identification"},
    {EProperty::Settings,       "Settings"},
});
// clang-format on

static_assert(areRowsWellFormed(propertyRows));

} // namespace

std::string to_string(EProperty value) {
    return findText(propertyRows, value);
}

} // namespace velk::powerdistribution
