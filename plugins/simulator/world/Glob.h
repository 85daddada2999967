#pragma once

#include <string_view>

namespace velk::simulator {

/// Whether `text` is what `pattern` says, in which "*" stands for any text, also none.
bool matchesGlob(std::string_view pattern, std::string_view text);

} // namespace velk::simulator
