#pragma once

#include "platform/common/lwjson/Deserializer.h"

#include <cstddef>
#include <iterator>
#include <string_view>

namespace velk::common::lwjson {

/// A JSON text on its way into the parser, which reads it once, from its start.
///
/// The parser refuses a number that no double can hold, but here a number's magnitude counts only when it is
/// extracted. So the parser is shown the digits of a number only as far as its grammar needs them.
class JsonSource {
public:
    explicit JsonSource(std::string_view json) : text{json} {}

    std::string_view all() const { return text; }

    /// Behind the last byte read.
    std::size_t offset() const { return next; }

    /// Whether the parser has asked for more than there is.
    bool isExhausted() const { return exhausted; }

    bool atEnd();
    char peek() const { return text[next]; }
    void advance();

    /// Where the byte at `offset` stands. Cheap for rising offsets.
    Position positionOf(std::size_t offset);

    class Iterator;
    Iterator begin();
    Iterator end();

private:
    void noteString(char current);
    void noteNumber(char current);
    void skipSurplusDigits();

    std::string_view text;
    std::size_t next{0};
    bool exhausted{false};

    bool inString{false};
    bool escaped{false};
    bool inExponent{false};
    std::size_t digits{0};

    std::size_t linesCountedTo{0};
    std::size_t lineStart{0};
    std::size_t line{1};
};

/// The form in which the parser takes its input: all copies share the source's progress.
class JsonSource::Iterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = char;

    Iterator() = default;
    explicit Iterator(JsonSource* owner) : source{owner} {}

    char operator*() const { return source->peek(); }
    Iterator& operator++() {
        source->advance();
        return *this;
    }
    Iterator operator++(int) {
        const Iterator before = *this;
        source->advance();
        return before;
    }

    /// Equal only to the end, and only when all is read.
    friend bool operator==(const Iterator& a, const Iterator& b) {
        JsonSource* const reading = a.source != nullptr ? a.source : b.source;
        return reading == nullptr || reading->atEnd();
    }
    friend bool operator!=(const Iterator& a, const Iterator& b) { return !(a == b); }

private:
    JsonSource* source{nullptr};
};

inline JsonSource::Iterator JsonSource::begin() {
    return Iterator{this};
}

inline JsonSource::Iterator JsonSource::end() {
    return Iterator{};
}

} // namespace velk::common::lwjson
