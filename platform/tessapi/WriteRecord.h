#pragma once

#include <cstdint>
#include <string>

namespace tessapi {

/// A write to the device that somebody asked for, and what became of it.
struct WriteRecord {
    std::int64_t number{0}; ///< given by the store: rises by one with each record, 1 for its first one
    std::int64_t timeMs{0}; ///< of the result: milliseconds since 1970 UTC
    std::string program;    ///< "" when nobody has said that it was him
    std::string user;       ///< likewise
    std::string path;       ///< for instance "Outlets.1.Setting.AutomaticSwitchOffDelay"
    std::string asked;      ///< the value, as text
    std::string result;     ///< "" when it was accepted, else what was wrong

    friend bool operator==(const WriteRecord&, const WriteRecord&) = default;
};

} // namespace tessapi
