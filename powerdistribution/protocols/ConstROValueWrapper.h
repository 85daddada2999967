#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace velk::powerdistribution::protocols {

/// A constant. `T` is bool, int32, uint32, float, string or string view, and reads as the alternative of the
/// same name. A string view reads as an owned string, but the wrapper keeps only the view: its text must
/// outlive the wrapper.
template <typename T>
class ConstROValueWrapper : public ROValueWrapper {
    static_assert(std::is_same_v<T, bool> || std::is_same_v<T, std::int32_t> ||
                  std::is_same_v<T, std::uint32_t> || std::is_same_v<T, float> ||
                  std::is_same_v<T, std::string> || std::is_same_v<T, std::string_view>);

public:
    explicit ConstROValueWrapper(const T& constant) : value{constant} {}
    explicit ConstROValueWrapper(T&& constant) : value{std::move(constant)} {}

    Value read() const override {
        if constexpr (std::is_same_v<T, std::string_view>) {
            return std::string{value};
        } else {
            return value;
        }
    }

private:
    T value;
};

extern template class VELK_EXPORT ConstROValueWrapper<bool>;
extern template class VELK_EXPORT ConstROValueWrapper<std::int32_t>;
extern template class VELK_EXPORT ConstROValueWrapper<std::uint32_t>;
extern template class VELK_EXPORT ConstROValueWrapper<float>;
extern template class VELK_EXPORT ConstROValueWrapper<std::string>;
extern template class VELK_EXPORT ConstROValueWrapper<std::string_view>;

} // namespace velk::powerdistribution::protocols
