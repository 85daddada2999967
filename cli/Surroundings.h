#pragma once

#include "cli/Style.h"

#include <cstdint>
#include <functional>
#include <istream>
#include <ostream>
#include <string>

namespace velk::cli {

/// What a command works with that opens no store, or opens it in its own way. As for a `Session`, data goes
/// to `out` and words to `err`.
struct Surroundings {
    std::string store; ///< URL that the command line names; empty for the one that the environment gives
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    bool json{false};
    Style style{false};                  ///< of `out`
    std::function<std::int64_t()> nowMs; ///< milliseconds since 1970 UTC
};

} // namespace velk::cli
