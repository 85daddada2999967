#pragma once

#include <chrono>
#include <set>
#include <string>

namespace velk::kit {

/// What a check was asked for. A plain value.
struct Options {
    std::string plugin;        ///< the file to load
    std::string configuration; ///< handed to the plug-in's entry; never empty
    std::string pauseCommand;  ///< for /bin/sh: takes the device away; empty: not tried
    std::string resumeCommand; ///< for /bin/sh: brings it back
    bool changeSettings{false};
    bool actions{false};
    std::chrono::milliseconds slow{100};         ///< a read that takes longer is named
    std::chrono::milliseconds patience{10'000};  ///< a call that takes longer hangs
    std::chrono::milliseconds discovery{30'000}; ///< until the device must be found
    std::chrono::milliseconds loss{30'000};      ///< until a loss or a return must be seen
    unsigned int rounds{1000};                   ///< of building and destroying
    unsigned int threads{8};                     ///< that read at once, at most `Board::SLOTS` - 1
    std::set<std::string> avoided;               ///< paths that have ended a child before
};

} // namespace velk::kit
