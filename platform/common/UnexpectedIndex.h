#pragma once

#include "platform/common/Export.h"

#include <variant>

namespace velk::common {

/// A value holds another alternative than the one asked for. The text is always "Unexpected index".
class VELK_EXPORT UnexpectedIndex : public std::bad_variant_access {
public:
    UnexpectedIndex() noexcept;
    ~UnexpectedIndex() override;
    const char* what() const noexcept override;
};

/// The one checked access to a variant: throws `UnexpectedIndex` where the standard library throws its own
/// text.
template <typename T, typename... Alternatives>
const T& checkedGet(const std::variant<Alternatives...>& value) {
    if (const T* held = std::get_if<T>(&value)) {
        return *held;
    }
    throw UnexpectedIndex{};
}

} // namespace velk::common
