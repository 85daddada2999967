#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

/// How many letters must be inserted, removed or replaced to make `a` into `b`; upper and lower case of ASCII
/// letters are the same letter.
std::size_t editDistance(std::string_view a, std::string_view b);

/// The candidate nearest to `wanted`, the first among equals. Empty when even that one has nothing to do with
/// it: when more than a third of the longer text (at least 2 letters) would have to change.
std::string nearest(std::string_view wanted, const std::vector<std::string>& candidates);

/// The `limit` candidates nearest to `wanted`, the nearest first, each once; fewer when others have nothing
/// to do with it.
std::vector<std::string> nearestFew(std::string_view wanted, const std::vector<std::string>& candidates,
                                    std::size_t limit);

} // namespace velk::cli
