#pragma once

#include "cli/Session.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace velk::cli {

class Communication;

/// A question to the daemon, by way of the store.
struct Inquiry {
    /// The channels of the daemon's own device for what is behind a data point.
    static constexpr const char* REQUEST = "Daemon.ExplainRequest";
    static constexpr const char* ANSWER = "Daemon.ExplainAnswer";

    /// The channels for another subject.
    struct Subject {
        const char* request;
        const char* answer;
    };

    /// What came of it: an answer, or why there is none.
    struct Result {
        std::optional<nlohmann::ordered_json> answer; ///< as the daemon gives it
        std::string silence;                          ///< empty with an answer
        bool asked{true};                             ///< false: nobody is there to be asked
    };

    /// A daemon at work answers within a few milliseconds; that is how long people who look wait for it.
    static constexpr velk::common::Clock::Duration SIGN_OF_LIFE = std::chrono::milliseconds{500};

    /// How long a daemon is waited for that has said that it is at rest.
    static constexpr velk::common::Clock::Duration AT_REST = std::chrono::milliseconds{500};

    /// Asks and waits for the answer as long as `timeout`, or `AT_REST`; does not ask a daemon that is known
    /// to be gone. Other programs may ask at the same time. `question` is an object without "id" and
    /// "forMs".
    static Result ask(Session& session, const Communication& communication, const Subject& subject,
                      const nlohmann::ordered_json& question, velk::common::Clock::Duration timeout);

    /// Whether the daemon was asked for a sign of life and has given none in so much time. False also when
    /// nobody is there to be asked, or this user may not ask.
    static bool isDaemonSilent(Session& session, const Communication& communication,
                               velk::common::Clock::Duration timeout);

    /// What is behind the data point of this path.
    static Result ask(Session& session, const Communication& communication, const std::string& path,
                      velk::common::Clock::Duration timeout);
};

} // namespace velk::cli
