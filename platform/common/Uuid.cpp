#include "platform/common/Uuid.h"

#include <boost/uuid/name_generator_sha1.hpp>

#include <algorithm>
#include <stdexcept>

namespace velk::common {

namespace {

constexpr std::size_t TEXT_LENGTH = 36;

constexpr bool isHyphenPlace(std::size_t place) {
    return place == 8 || place == 13 || place == 18 || place == 23;
}

/// The value of a hexadecimal digit, or -1.
constexpr int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

[[noreturn]] void refuse(std::string_view text) {
    throw std::invalid_argument{"\"" + std::string{text} + "\" is not a UUID"};
}

} // namespace

Uuid::Uuid(std::string_view text) {
    if (text.size() != TEXT_LENGTH) {
        refuse(text);
    }
    std::size_t digits = 0;
    for (std::size_t place = 0; place < TEXT_LENGTH; ++place) {
        if (isHyphenPlace(place)) {
            if (text[place] != '-') {
                refuse(text);
            }
            continue;
        }
        const int value = digitValue(text[place]);
        if (value < 0) {
            refuse(text);
        }
        std::uint8_t& byte = bytes[digits++ / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
    }
}

Uuid::Uuid(const std::string& text) : Uuid{std::string_view{text}} {}

Uuid::Uuid(const char* text) : Uuid{std::string_view{text}} {}

Uuid::Uuid(const Uuid& space, const std::string& name) {
    boost::uuids::uuid spaceId{};
    std::copy(space.bytes.begin(), space.bytes.end(), spaceId.begin());
    const boost::uuids::uuid derived = boost::uuids::name_generator_sha1{spaceId}(name);
    std::copy(derived.begin(), derived.end(), bytes.begin());
}

Uuid::Uuid(const BinaryBlock& block) {
    std::copy_n(block.begin(), std::min(block.size(), bytes.size()), bytes.begin());
}

std::string Uuid::toString() const {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(TEXT_LENGTH);
    for (const std::uint8_t byte : bytes) {
        if (isHyphenPlace(text.size())) {
            text += '-';
        }
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 0x0F];
    }
    return text;
}

std::ostream& operator<<(std::ostream& stream, const Uuid& uuid) {
    return stream << uuid.toString();
}

} // namespace velk::common
