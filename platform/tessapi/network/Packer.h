#pragma once

#include "platform/qz/CValue.h"
#include "platform/tessapi/engine/ValueCodec.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace tessapi {

/// Puts numbers, texts and values behind each other as the functions of the server read them: numbers in
/// little-endian order, texts and values with their size before them.
class Packer {
public:
    template <class Number>
    requires std::is_arithmetic_v<Number> Packer& number(Number value) {
        char raw[sizeof value];
        std::memcpy(raw, &value, sizeof value);
        bytes.append(raw, sizeof value);
        return *this;
    }

    Packer& text(std::string_view value) {
        number(static_cast<std::uint32_t>(value.size()));
        bytes.append(value);
        return *this;
    }

    Packer& value(const qz::CValue& content) {
        const auto encoded = ValueCodec::encode(content);
        return text({reinterpret_cast<const char*>(encoded.data()), encoded.size()});
    }

    std::string take() { return std::move(bytes); }

private:
    std::string bytes;
};

} // namespace tessapi
