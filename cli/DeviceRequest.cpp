#include "cli/DeviceRequest.h"

#include "cli/Communication.h"
#include "cli/Failure.h"
#include "cli/Outcome.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"
#include "cli/WriterNote.h"
#include "platform/tessapi/InBandAccessor.h"

#include <chrono>
#include <exception>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

RequestResult resultOf(const std::optional<JournalEntry>& note, velk::common::Clock::Duration timeout) {
    if (!note) {
        const auto waited = std::chrono::duration<double>(timeout).count();
        return {RequestResult::Kind::Unknown, "no answer within " + Json(waited).dump() + " s", std::nullopt};
    }
    if (note->accepted) {
        return {RequestResult::Kind::Accepted, "", note->time};
    }
    return {RequestResult::Kind::Refused, note->error.value_or(""), note->time};
}

/// What a daemon takes, it records itself.
void recordUntaken(const Session& session, const Point& point, const qz::CValue& value,
                   const std::string& why) {
    tessapi::WriteRecord record;
    record.timeMs = session.nowMs();
    record.program = WRITER_PROGRAM;
    record.user = ownUser();
    record.path = point.path;
    record.asked = plainText(value);
    record.result = "nobody took it: " + why;
    try {
        session.store.browser().recordWrite(record);
    } catch (const std::exception& failure) {
        // The setting is written already; what became of it is the answer that counts.
        session.err << "tess: the store keeps no record of the write: " << failure.what() << "\n";
    }
}

} // namespace

ExitCode RequestResult::exitCode() const {
    switch (kind) {
    case Kind::Accepted:
        return ExitCode::Done;
    case Kind::Refused:
        return ExitCode::Failed;
    case Kind::Unknown:
        break;
    }
    return ExitCode::OutcomeUnknown;
}

void requireConnection(const Communication& communication, const Point& point, bool force) {
    const Connection connection = communication.of(point);
    if (connection.good || force) {
        return;
    }
    std::string since;
    if (connection.sinceMs != 0) {
        since = " since " + localText(connection.sinceMs);
    }
    throw Failure{ExitCode::NotConnected, "the device is not connected: communication " + connection.state +
                                              since + "; nothing was written (--force writes all the same)"};
}

RequestResult request(Session& session, const Point& point, const qz::CValue& value,
                      velk::common::Clock::Duration timeout) {
    Outcome outcome{session.store, session.clock};
    announceWriter(session.store, point, value, session.nowMs());
    session.store.inbandAccessor().setChannelCValue(point.channel->id, value);
    RequestResult result =
        outcome.isPossible()
            ? resultOf(outcome.waitFor(point.devicePath, point.name, plainText(value), timeout), timeout)
            : RequestResult{RequestResult::Kind::Unknown, "no daemon has ever kept notes in this store",
                            std::nullopt};
    if (result.kind == RequestResult::Kind::Unknown) {
        recordUntaken(session, point, value, result.reason);
    }
    return result;
}

std::string outcomeText(const RequestResult& result) {
    switch (result.kind) {
    case RequestResult::Kind::Accepted:
        return "accepted by the device";
    case RequestResult::Kind::Refused:
        return "refused by the device" + (result.reason.empty() ? "" : ": " + result.reason);
    case RequestResult::Kind::Unknown:
        break;
    }
    return "unconfirmed: " + result.reason;
}

void addOutcome(Json& object, const RequestResult& result) {
    switch (result.kind) {
    case RequestResult::Kind::Accepted:
        object["outcome"] = "accepted";
        break;
    case RequestResult::Kind::Refused:
        object["outcome"] = "refused";
        break;
    case RequestResult::Kind::Unknown:
        object["outcome"] = "unknown";
        break;
    }
    object["error"] = result.reason.empty() ? Json(nullptr) : Json(result.reason);
    object["time"] = result.time ? Json(*result.time) : Json(nullptr);
}

} // namespace velk::cli
