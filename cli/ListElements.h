#pragma once

#include "platform/common/lwjson/Deserializer.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace velk::cli {

/// The elements of the lists in a JSON object, taken out of its text so that they can be parsed one after the
/// other: parsed at once, a document takes twenty times the memory of its text.
///
/// What is left is the same text with the number 0 in place of each element and blanks in place of its other
/// bytes, so that everything stands where it stood.
class ListElements {
public:
    /// `text` outlives this object. Of text that is no JSON something is left that is none.
    explicit ListElements(std::string_view text);

    const std::string& rest() const { return skeleton; }

    /// The text of the element that begins there in the whole text; empty when there is none.
    std::string_view at(const velk::common::lwjson::Position& position) const;

private:
    void begin(std::size_t offset);
    void end(std::size_t offset);
    void look(char letter, std::size_t offset);

    bool isInList() const { return open == "{["; }

    std::string_view whole;
    std::string skeleton;
    std::map<std::pair<std::size_t, std::size_t>, std::string_view> elements; ///< by line and column
    std::string open;                       ///< the brackets around the place that is looked at
    std::size_t started{std::string::npos}; ///< where the present element begins
    velk::common::lwjson::Position startedAt;
    std::size_t line{1};
    std::size_t lineStart{0};
};

} // namespace velk::cli
