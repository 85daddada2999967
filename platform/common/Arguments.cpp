#include "platform/common/Arguments.h"

#include <charconv>
#include <stdexcept>

namespace velk::common {

unsigned int GetTypedArgHelper<unsigned int>::get(std::string_view text) {
    unsigned int value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end) {
        throw std::invalid_argument{"\"" + std::string{text} +
                                    "\" is not a whole number from 0 to 4294967295"};
    }
    return value;
}

} // namespace velk::common
