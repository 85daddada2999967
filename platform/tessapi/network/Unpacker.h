#pragma once

#include "platform/qz/CValue.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace tessapi {

/// Reads what `Packer` wrote. Throws BadData for bytes that are none of it.
class Unpacker {
public:
    /// `packed` outlives the object.
    explicit Unpacker(std::string_view packed) : rest{packed} {}

    template <class Number>
    requires std::is_arithmetic_v<Number> Number number() {
        Number value{};
        const auto raw = take(sizeof value);
        std::memcpy(&value, raw.data(), sizeof value);
        return value;
    }

    std::string text() { return std::string{take(number<std::uint32_t>())}; }
    qz::CValue value();
    /// All that is left.
    std::string remainder() { return std::string{take(rest.size())}; }

    std::string_view take(std::size_t size);
    bool isAtEnd() const { return rest.empty(); }

private:
    std::string_view rest;
};

} // namespace tessapi
