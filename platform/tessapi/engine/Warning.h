#pragma once

#include <iostream>
#include <string>

namespace tessapi {

/// Tells people something about a store, on the standard error. `text` has no end of a line. Threads: any.
inline void warn(const std::string& store, const std::string& text) {
    // One write for the whole line, which other threads may not split.
    std::cerr << "WARNING - store " + store + ": " + text + "\n" << std::flush;
}

} // namespace tessapi
