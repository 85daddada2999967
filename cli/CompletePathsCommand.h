#pragma once

#include "cli/ExitCode.h"
#include "cli/Surroundings.h"

#include <string>

namespace velk::cli {

/// What a shell wants to know while a word is typed.
struct PathQuestion {
    std::string kind; ///< "path", "part", "setting" or "action"
    std::string word; ///< what is there of it
    std::string part; ///< of an action: the part of the device; "." for the device itself
};

/// `complete-paths`: the paths of the store that go on from the word, up to the next dot, one a line. Says
/// nothing and ends well when anything fails, also when the store does not answer within half a second: a
/// person is typing.
ExitCode runCompletePaths(Surroundings& surroundings, const PathQuestion& question);

} // namespace velk::cli
