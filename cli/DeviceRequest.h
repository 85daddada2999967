#pragma once

#include "cli/ExitCode.h"
#include "cli/Point.h"
#include "cli/Session.h"
#include "platform/qz/CValue.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace velk::cli {

class Communication;

/// What a person chose for a request to the device.
struct RequestOptions {
    velk::common::Clock::Duration timeout{std::chrono::seconds{10}};
    bool force{false}; ///< ask even while the device is not connected
    bool yes{false};   ///< a load may lose power, without being asked
};

/// What became of a request. A plain value.
struct RequestResult {
    enum class Kind { Accepted, Refused, Unknown };

    Kind kind{Kind::Unknown};
    std::string reason;              ///< why it was refused, or why nobody knows; may be empty
    std::optional<std::string> time; ///< when the device was written, ISO 8601 UTC

    ExitCode exitCode() const;
};

/// Refuses, with `Failure` and `NotConnected`, to ask something of a device that cannot be reached, unless
/// forced.
void requireConnection(const Communication& communication, const Point& point, bool force);

/// Writes `value` into the point's channel and waits for what the daemon says of the write to the device.
/// When nobody says anything the store gets a record of the write with the result "nobody took it: …".
RequestResult request(Session& session, const Point& point, const qz::CValue& value,
                      velk::common::Clock::Duration timeout);

/// The end of the sentence for people: "accepted by the device", "refused by the device: …",
/// "unconfirmed: …".
std::string outcomeText(const RequestResult& result);

/// Adds `outcome` ("accepted", "refused", "unknown"), `error` and `time`.
void addOutcome(nlohmann::ordered_json& object, const RequestResult& result);

} // namespace velk::cli
