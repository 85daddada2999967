#pragma once

#include "platform/common/Export.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace velk::common {

/// Converts the text of an argument.
template <typename T>
struct GetTypedArgHelper;

template <>
struct VELK_EXPORT GetTypedArgHelper<unsigned int> {
    /// One or more decimal digits and nothing else, at most 4294967295; anything else throws
    /// std::invalid_argument with the text in the message.
    static unsigned int get(std::string_view text);
};

/// `fallback` when `key` is absent, else the converted text.
template <typename T>
T get(const std::unordered_map<std::string, std::string>& arguments, const std::string& key, T fallback) {
    const auto entry = arguments.find(key);
    return entry == arguments.end() ? fallback : GetTypedArgHelper<T>::get(entry->second);
}

} // namespace velk::common
