#pragma once

#include "platform/common/UnexpectedIndex.h"

#include <cstddef>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace velk::common {

/// An optional value of one of several alternatives: empty means that there is no value now. A plain value.
template <typename... Alternatives>
class TValue {
public:
    using Variant = std::variant<Alternatives...>;

    template <typename T>
    static constexpr bool IS_ALTERNATIVE = (std::is_same_v<T, Alternatives> || ...);

    TValue() = default; ///< empty

    /// From exactly one of the alternatives, so that no number changes its kind on the way in.
    template <typename T, typename = std::enable_if_t<IS_ALTERNATIVE<std::decay_t<T>>>>
    TValue(T&& alternative) // NOLINT(google-explicit-constructor, bugprone-forwarding-reference-overload)
        :
        held{std::in_place, std::in_place_type<std::decay_t<T>>, std::forward<T>(alternative)} {}

    bool hasValue() const { return held.has_value(); }
    void reset() { held.reset(); }

    template <typename T>
    bool holds() const {
        return held.has_value() && std::holds_alternative<T>(*held);
    }

    /// The alternative, or null when the value is empty or holds another one.
    template <typename T>
    const T* getIf() const {
        return held.has_value() ? std::get_if<T>(&*held) : nullptr;
    }

    /// The alternative; throws `UnexpectedIndex` when the value is empty or holds another one.
    template <typename T>
    const T& get() const {
        if (!held.has_value()) {
            throw UnexpectedIndex{};
        }
        return checkedGet<T>(*held);
    }

    const std::optional<Variant>& variant() const { return held; }

    /// Two empty values are equal; otherwise the alternatives must be the same and their contents equal.
    friend bool operator==(const TValue& a, const TValue& b) { return a.held == b.held; }

private:
    std::optional<Variant> held;
};

} // namespace velk::common
