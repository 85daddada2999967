#pragma once

#include <cstdint>
#include <utility>

namespace velk::common {

/// What a document that anybody may have written has as a whole number. Throws the document's own
/// out_of_range for a fraction, for a number that `Whole` does not take, and for what is no number;
/// converting such a number is undefined.
template <class Whole, class Json>
Whole wholeNumber(const Json& json) {
    if (json.is_number_unsigned()) {
        if (const auto number = json.template get<std::uint64_t>(); std::in_range<Whole>(number)) {
            return static_cast<Whole>(number);
        }
    } else if (json.is_number_integer()) {
        if (const auto number = json.template get<std::int64_t>(); std::in_range<Whole>(number)) {
            return static_cast<Whole>(number);
        }
    }
    constexpr int outOfRange = 406; // the parser's number for it
    throw Json::out_of_range::create(outOfRange, "expected a whole number, found " + json.dump(), &json);
}

template <class Json, class Whole>
void takeWhole(const Json& json, Whole& number) {
    number = wholeNumber<Whole>(json);
}

} // namespace velk::common
