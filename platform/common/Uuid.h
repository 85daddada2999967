#pragma once

#include "platform/common/Export.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace velk::common {

/// Bytes as a device gives them.
using BinaryBlock = std::vector<std::uint8_t>;

/// A universally unique identifier (RFC 9562): 16 bytes, nil by default.
/// Threads: a plain value.
class VELK_EXPORT Uuid {
public:
    using Bytes = std::array<std::uint8_t, 16>;

    /// The nil identifier, which stands for "none".
    static const Uuid NIL;

    /// The namespace from which the system derives the identifiers of devices that have none of their own.
    /// A fixed value; another one would give every such device a new identity.
    static const Uuid VELK_NAMESPACE;

    constexpr Uuid() = default;
    constexpr explicit Uuid(const Bytes& value) : bytes{value} {}

    /// Parses the canonical form of 36 characters, in lower or upper case.
    /// Throws std::invalid_argument that shows the text for anything else.
    explicit Uuid(const std::string& text);
    explicit Uuid(std::string_view text);
    explicit Uuid(const char* text);

    /// The name-based identifier, version 5 (SHA-1).
    Uuid(const Uuid& space, const std::string& name);

    /// The first 16 bytes of the block; a shorter block is filled up with zeros at its end.
    explicit Uuid(const BinaryBlock& block);

    constexpr bool isNil() const { return bytes == Bytes{}; }
    constexpr const Bytes& data() const { return bytes; }

    /// Canonical lower-case text of 36 characters.
    std::string toString() const;

    friend constexpr bool operator==(const Uuid& a, const Uuid& b) { return a.bytes == b.bytes; }
    friend constexpr auto operator<=>(const Uuid& a, const Uuid& b) { return a.bytes <=> b.bytes; }

private:
    Bytes bytes{};
};

// Constant-initialised, so that tables of other files may use them while they are loaded.
inline constexpr Uuid Uuid::NIL{};
inline constexpr Uuid Uuid::VELK_NAMESPACE{Uuid::Bytes{0x6f, 0x1d, 0x0c, 0x52, 0x93, 0x5e, 0x4b, 0x0a, //
                                                       0x8c, 0x27, 0x51, 0xd4, 0xe8, 0x3a, 0x9b, 0x76}};

/// Prints the canonical lower-case text.
VELK_EXPORT std::ostream& operator<<(std::ostream& stream, const Uuid& uuid);

} // namespace velk::common

template <>
struct std::hash<velk::common::Uuid> {
    std::size_t operator()(const velk::common::Uuid& uuid) const noexcept {
        return std::hash<std::string_view>{}(
            std::string_view{reinterpret_cast<const char*>(uuid.data().data()), uuid.data().size()});
    }
};
