#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velk::powerdistribution {

/// What publishes a data point. A plain value; times count back from the moment of the question.
struct PointPublisher {
    /// "reading", "setting", "action"; "computed", "health", "communication" and "service" for what the
    /// library works out itself.
    std::string kind;
    std::string plugin; ///< file of the plug-in that serves it; empty for the library itself
    std::string rule;   ///< the line of a table that serves it; empty when nobody tells
    /// Cycles of the scheduler that a poll waits for; empty for what is not polled.
    std::optional<std::uint32_t> rank;
    std::uint32_t reads{0};                            ///< polls so far
    std::optional<std::chrono::nanoseconds> sinceRead; ///< empty before the first poll
    std::optional<std::chrono::nanoseconds> period;    ///< between polls, as measured; empty before two
    bool gaveNothing{false};                           ///< the last poll gave no value
    std::string failure;                               ///< text of the last failed poll; empty for none
    std::optional<std::chrono::nanoseconds> sinceFailure;
};

/// What the library knows of one data point beyond what the store shows. A plain value.
struct PointDescription {
    bool modelBuilt{false}; ///< there is a data model of the present device
    std::string
        modelFailure; ///< why the data model could not be initialised the last time; empty for nothing
    /// Empty for a data point that the device does not have; more than one where several write the same
    /// channel.
    std::vector<PointPublisher> publishers;
};

} // namespace velk::powerdistribution
