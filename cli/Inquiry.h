#pragma once

#include "cli/Session.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace velk::cli {

class Communication;

/// A question to the daemon about one data point, by way of the store.
struct Inquiry {
    /// The channels of the daemon's own device.
    static constexpr const char* REQUEST = "Daemon.ExplainRequest";
    static constexpr const char* ANSWER = "Daemon.ExplainAnswer";

    /// What came of it: an answer, or why there is none.
    struct Result {
        std::optional<nlohmann::ordered_json> answer; ///< as ExplainDesk of the daemon gives it
        std::string silence;                          ///< empty with an answer
    };

    /// Asks and waits for the answer as long as `timeout`; does not wait for a daemon that is known to have
    /// ended. Other programs may ask at the same time.
    static Result ask(Session& session, const Communication& communication, const std::string& path,
                      velk::common::Clock::Duration timeout);
};

} // namespace velk::cli
