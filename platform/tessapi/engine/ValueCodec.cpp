#include "platform/tessapi/engine/ValueCodec.h"

#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

namespace tessapi {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they are");

namespace {

using Bytes = qz::CValue::Bytes;

template <class Number>
void append(Bytes& bytes, Number number) {
    const auto end = bytes.size();
    bytes.resize(end + sizeof number);
    std::memcpy(bytes.data() + end, &number, sizeof number);
}

struct Encoder {
    Bytes& bytes;

    void operator()(std::monostate) const {}
    void operator()(bool value) const { bytes.push_back(value ? 1 : 0); }
    template <class Number>
    requires std::is_arithmetic_v<Number>
    void operator()(Number value) const { append(bytes, value); }
    void operator()(const qz::CTimestamp& value) const {
        append(bytes, value.seconds);
        bytes.insert(bytes.end(), value.format.begin(), value.format.end());
    }
    void operator()(const std::string& value) const { bytes.insert(bytes.end(), value.begin(), value.end()); }
    void operator()(const Bytes& value) const { bytes.insert(bytes.end(), value.begin(), value.end()); }
};

template <class Number>
std::optional<qz::CValue> number(const Bytes& bytes) {
    Number value{};
    if (bytes.size() != 1 + sizeof value) {
        return std::nullopt;
    }
    std::memcpy(&value, bytes.data() + 1, sizeof value);
    return qz::CValue{value};
}

std::optional<qz::CValue> boolean(const Bytes& bytes) {
    if (bytes.size() != 2 || bytes[1] > 1) {
        return std::nullopt;
    }
    return qz::CValue{bytes[1] == 1};
}

std::optional<qz::CValue> timestamp(const Bytes& bytes) {
    qz::CTimestamp value;
    if (bytes.size() < 1 + sizeof value.seconds) {
        return std::nullopt;
    }
    std::memcpy(&value.seconds, bytes.data() + 1, sizeof value.seconds);
    value.format.assign(bytes.begin() + 1 + sizeof value.seconds, bytes.end());
    return qz::CValue{std::move(value)};
}

} // namespace

Bytes ValueCodec::encode(const qz::CValue& value) {
    if (!value.isValid()) {
        return {};
    }
    Bytes bytes;
    bytes.reserve(1 + sizeof(std::uint64_t)); // all that a number needs
    bytes.push_back(static_cast<std::uint8_t>(value.variant().index()));
    std::visit(Encoder{bytes}, value.variant());
    return bytes;
}

std::optional<qz::CValue> ValueCodec::decode(const Bytes& bytes) {
    if (bytes.empty()) {
        return qz::CValue{};
    }
    switch (bytes.front()) { // the alternatives in the order of CValue::Variant
    case 1:
        return boolean(bytes);
    case 2:
        return number<std::int32_t>(bytes);
    case 3:
        return number<std::int64_t>(bytes);
    case 4:
        return number<std::uint32_t>(bytes);
    case 5:
        return number<std::uint64_t>(bytes);
    case 6:
        return number<float>(bytes);
    case 7:
        return number<double>(bytes);
    case 8:
        return timestamp(bytes);
    case 9:
        return qz::CValue{std::string(bytes.begin() + 1, bytes.end())};
    case 10:
        return qz::CValue{Bytes(bytes.begin() + 1, bytes.end())};
    default:
        return std::nullopt;
    }
}

bool ValueCodec::same(const qz::CValue& a, const qz::CValue& b) {
    if (a == b) {
        return true;
    }
    // Two that differ are the same only when they are not a number, which is rare enough to be slow.
    return a != a && b != b && encode(a) == encode(b);
}

} // namespace tessapi
