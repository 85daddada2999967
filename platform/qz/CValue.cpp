#include "platform/qz/CValue.h"

#include <charconv>
#include <ctime>
#include <stdexcept>
#include <type_traits>

namespace qz {

namespace {

/// The text of each alternative, by the order of `CValue::Variant`.
std::string alternativeName(std::size_t index) {
    return index == 0 ? "invalid" : to_string(static_cast<datatype>(index - 1));
}

template <typename T>
T read(const CValue::Variant& held, datatype wanted) {
    if (const T* value = std::get_if<T>(&held)) {
        return *value;
    }
    if (std::holds_alternative<std::monostate>(held)) {
        return T{};
    }
    throw std::runtime_error{"Cannot read a value of type " + alternativeName(held.index()) + " as " +
                             to_string(wanted)};
}

template <typename T>
void printNumber(std::ostream& stream, T value) {
    char text[32];
    const auto end = std::to_chars(std::begin(text), std::end(text), value);
    stream << std::string_view{text, static_cast<std::size_t>(end.ptr - text)};
}

void printTime(std::ostream& stream, std::int64_t seconds) {
    const std::time_t time = seconds;
    std::tm utc{};
    char text[64];
    if (gmtime_r(&time, &utc) == nullptr) {
        stream << seconds; // a year beyond the calendar of the C library
        return;
    }
    stream << std::string_view{text, std::strftime(text, sizeof text, "%FT%TZ", &utc)};
}

void printBytes(std::ostream& stream, const CValue::Bytes& bytes) {
    constexpr std::string_view digits{"0123456789abcdef"};
    for (const std::uint8_t byte : bytes) {
        stream << digits[byte >> 4] << digits[byte & 0x0f];
    }
}

struct Printer {
    std::ostream& stream;

    void operator()(std::monostate) const { stream << "invalid"; }
    void operator()(bool value) const { stream << (value ? "true" : "false"); }
    void operator()(const CTimestamp& value) const { printTime(stream, value.seconds); }
    void operator()(const std::string& value) const { stream << value; }
    void operator()(const CValue::Bytes& value) const { printBytes(stream, value); }
    template <typename T>
    requires std::is_arithmetic_v<T>
    void operator()(T value) const { printNumber(stream, value); }
};

struct NumberOf {
    std::optional<double> operator()(std::monostate) const { return std::nullopt; }
    std::optional<double> operator()(const std::string&) const { return std::nullopt; }
    std::optional<double> operator()(const CValue::Bytes&) const { return std::nullopt; }
    std::optional<double> operator()(const CTimestamp& value) const {
        return static_cast<double>(value.seconds);
    }
    template <typename T>
    requires std::is_arithmetic_v<T> std::optional<double>
    operator()(T value) const { return static_cast<double>(value); }
};

} // namespace

bool CValue::as_bool() const {
    return read<bool>(held, datatype::boolean);
}

std::int32_t CValue::as_int32() const {
    return read<std::int32_t>(held, datatype::int32);
}

std::int64_t CValue::as_int64() const {
    return read<std::int64_t>(held, datatype::int64);
}

std::uint32_t CValue::as_uint32() const {
    return read<std::uint32_t>(held, datatype::uint32);
}

std::uint64_t CValue::as_uint64() const {
    return read<std::uint64_t>(held, datatype::uint64);
}

float CValue::as_float() const {
    return read<float>(held, datatype::float32);
}

double CValue::as_double() const {
    return read<double>(held, datatype::float64);
}

CTimestamp CValue::as_timestamp() const {
    return read<CTimestamp>(held, datatype::timestamp);
}

std::string CValue::as_string() const {
    return read<std::string>(held, datatype::string);
}

CValue::Bytes CValue::as_binary() const {
    return read<Bytes>(held, datatype::binary);
}

std::optional<datatype> CValue::type() const {
    if (!isValid()) {
        return std::nullopt;
    }
    return static_cast<datatype>(held.index() - 1);
}

std::optional<double> CValue::asNumber() const {
    return std::visit(NumberOf{}, held);
}

std::ostream& operator<<(std::ostream& stream, const CValue& value) {
    std::visit(Printer{stream}, value.variant());
    return stream;
}

} // namespace qz
