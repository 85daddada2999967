#include "platform/qz/datatype.h"

#include <array>
#include <string_view>

namespace qz {

namespace {

constexpr auto names = std::to_array<std::string_view>(
    {"boolean", "int32", "int64", "uint32", "uint64", "float32", "float64", "timestamp", "string", "binary"});

} // namespace

std::string to_string(datatype type) {
    const auto number = static_cast<std::uint32_t>(type);
    if (number < names.size()) {
        return std::string{names[number]};
    }
    return "unknown (" + std::to_string(number) + ")";
}

} // namespace qz
