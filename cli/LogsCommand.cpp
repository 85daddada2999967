#include "cli/LogsCommand.h"

#include "cli/ChangeFeed.h"
#include "cli/Communication.h"
#include "cli/Json.h"
#include "cli/LogPrinter.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

/// The log as the store has it, and what is wrong with it.
struct Reading {
    DeviceLog log; ///< without entries when there is none
    ExitCode code{ExitCode::Done};
    std::string complaint; ///< empty when the log is whole and of now
    bool fresh{false};     ///< the device can be reached
};

Reading failed(ExitCode code, const std::string& complaint) {
    Reading reading;
    reading.code = code;
    reading.complaint = complaint;
    return reading;
}

const tessapi::ChannelRecord* logChannel(const StoreView& view) {
    const Point* point = view.find(DeviceLog::CHANNEL);
    const bool written = point != nullptr && point->channel != nullptr && point->channel->initialized &&
                         point->channel->type == qz::datatype::string;
    return written ? point->channel : nullptr;
}

void complainOfDevice(Reading& reading, const Connection& connection) {
    const DeviceLog& log = reading.log;
    if (log.unreadable != 0) {
        reading.code = ExitCode::Failed;
        reading.complaint = std::to_string(log.unreadable) + " entries of the log in the store make no sense";
    } else if (!log.error.empty()) {
        reading.code = ExitCode::Failed;
        reading.complaint = "the device's log could not be read since " + localText(log.errorSinceMs) + ": " +
                            printable(log.error);
    } else if (!connection.good) {
        reading.code = ExitCode::NotConnected;
        reading.complaint = "newer events may be missing: " + connection.state;
        if (connection.sinceMs != 0) {
            reading.complaint += " since " + localText(connection.sinceMs);
        }
    }
}

Reading read(const StoreView& view) {
    const Communication communication{view};
    const tessapi::ChannelRecord* channel = logChannel(view);
    if (channel == nullptr) {
        return failed(ExitCode::NoSuchPath,
                      "no event log: the device keeps none, or no daemon has read it yet");
    }
    std::string why;
    std::optional<DeviceLog> log = DeviceLog::parse(channel->value.as_string(), why);
    if (!log) {
        return failed(ExitCode::Failed, "the log in the store makes no sense: " + why);
    }
    const StoreView::Branch* device = view.branch(StoreView::POWER_DISTRIBUTION);
    if (device == nullptr || device->device->uuid.toString() != log->device) {
        return failed(ExitCode::NoSuchPath,
                      "no event log of this device: the store has that of " + printable(log->device));
    }
    Reading reading;
    reading.log = std::move(*log);
    const Connection connection = communication.device();
    reading.fresh = connection.good;
    complainOfDevice(reading, connection);
    return reading;
}

void complain(Session& session, const Reading& reading) {
    if (!reading.complaint.empty()) {
        session.err << "tess: " << reading.complaint << "\n" << std::flush;
    }
}

void printDocumentOf(Session& session, const Reading& reading, std::optional<std::uint64_t> newest) {
    const std::vector<DeviceLog::Entry>& entries = reading.log.entries;
    const std::size_t left = std::min<std::uint64_t>(newest.value_or(entries.size()), entries.size());
    Json document;
    document["entries"] = Json::array();
    for (std::size_t i = entries.size() - left; i < entries.size(); ++i) {
        document["entries"].push_back(jsonOf(entries[i]));
    }
    document["error"] = reading.complaint.empty() ? Json(nullptr) : Json(reading.complaint);
    document["fresh"] = reading.fresh;
    printDocument(session.out, document);
}

ExitCode showOnce(Session& session, const LogsOptions& options) {
    const Reading reading = read(StoreView{session.store.browser().snapshot()});
    if (session.json) {
        printDocumentOf(session, reading, options.newest);
    } else if (!reading.log.entries.empty()) {
        LogPrinter printer{session};
        printer.printHead();
        printer.print(reading.log, options.newest);
    } else if (reading.complaint.empty()) {
        session.err << "tess: the device's event log is empty\n";
    }
    complain(session, reading);
    return reading.code;
}

/// Whether the write may make a difference to what is shown.
bool matters(const StoreView& view, const tessapi::ChannelWrite& write) {
    const Point* point = view.pointOf(write.channel);
    return point == nullptr || point->path == DeviceLog::CHANNEL ||
           point->name.starts_with("CommunicationStatus.") ||
           point->channel->name == Communication::DAEMON_PROCESS;
}

ExitCode follow(Session& session, const LogsOptions& options) {
    ChangeFeed feed{session};
    const velk::common::Clock::Duration deadline = momentIn(session, options.seconds);
    StoreView view{session.store.browser().snapshot()};
    LogPrinter printer{session};
    Reading reading = read(view);
    printer.printHead();
    printer.print(reading.log, options.newest);
    complain(session, reading);
    session.err << "tess: following the device's log; Ctrl-C ends it\n" << std::flush;
    for (;;) {
        const bool goesOn = feed.wait(deadline);
        const std::vector<tessapi::ChannelWrite> writes = feed.takeAll();
        if (std::any_of(writes.begin(), writes.end(),
                        [&](const tessapi::ChannelWrite& write) { return matters(view, write); })) {
            view = StoreView{session.store.browser().snapshot()};
            Reading next = read(view);
            printer.print(next.log);
            if (next.complaint != std::exchange(reading.complaint, next.complaint)) {
                complain(session, next);
            }
        }
        if (!goesOn || session.clock.now() >= deadline) {
            return ExitCode::Done;
        }
    }
}

} // namespace

ExitCode runLogs(Session& session, const LogsOptions& options) {
    return options.follow ? follow(session, options) : showOnce(session, options);
}

} // namespace velk::cli
