#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <vector>

namespace velk::daemon {

// Numbers in as few bytes as they take.

using ByteVector = std::vector<std::uint8_t>;

/// 7 bits a byte, the lowest first; the highest bit says that more follow.
inline void putVarint(ByteVector& bytes, std::uint64_t number) {
    constexpr std::uint64_t more = 0x80;
    while (number >= more) {
        bytes.push_back(static_cast<std::uint8_t>(number | more));
        number >>= 7U;
    }
    bytes.push_back(static_cast<std::uint8_t>(number));
}

/// As this machine has it.
template <typename Number>
void putRaw(ByteVector& bytes, Number number) {
    static_assert(std::is_arithmetic_v<Number>);
    const std::size_t place = bytes.size();
    bytes.resize(place + sizeof(number));
    std::memcpy(bytes.data() + place, &number, sizeof(number));
}

/// With its length before it.
inline void putText(ByteVector& bytes, std::string_view text) {
    putVarint(bytes, text.size());
    bytes.insert(bytes.end(), text.begin(), text.end());
}

/// Small numbers of either sign as small ones without: 0, -1, 1, -2 as 0, 1, 2, 3.
inline std::uint64_t zigzag(std::int64_t number) {
    return (static_cast<std::uint64_t>(number) << 1U) ^ (number < 0 ? ~std::uint64_t{0} : std::uint64_t{0});
}

inline std::int64_t unzigzag(std::uint64_t number) {
    return static_cast<std::int64_t>((number >> 1U) ^ (~(number & 1U) + 1U));
}

/// Reads front to back what was put. All of its readings throw std::runtime_error "ends too early" when there
/// is not so much. Threads: one.
class ByteReader {
public:
    explicit ByteReader(std::string_view content) : rest{content} {}

    std::string_view left() const { return rest; }

    std::string_view take(std::size_t size) {
        if (size > rest.size()) {
            throw std::runtime_error{"ends too early"};
        }
        const std::string_view taken = rest.substr(0, size);
        rest.remove_prefix(size);
        return taken;
    }

    std::uint64_t varint() {
        std::uint64_t number = 0;
        for (unsigned int shift = 0; shift < 64; shift += 7) {
            const auto byte = static_cast<std::uint8_t>(take(1).front());
            number |= std::uint64_t{byte & 0x7FU} << shift;
            if ((byte & 0x80U) == 0) {
                return number;
            }
        }
        throw std::runtime_error{"has a number of too many bytes"};
    }

    template <typename Number>
    Number raw() {
        Number number{};
        std::memcpy(&number, take(sizeof(number)).data(), sizeof(number));
        return number;
    }

    std::string_view text() { return take(varint()); }

private:
    std::string_view rest;
};

} // namespace velk::daemon
