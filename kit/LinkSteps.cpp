// A device that goes away and comes back, one that is let go, and the end of the plug-in.

#include "kit/ShellCommand.h"
#include "kit/Steps.h"
#include "kit/Threads.h"
#include "platform/common/DynamicLibrary.h"
#include "platform/common/UnixTime.h"

namespace velk::kit {

using powerdistribution::EStatus;
using powerdistribution::Value;
namespace protocols = powerdistribution::protocols;

namespace {

/// Until values are there again after the link is.
constexpr Milliseconds LONGEST_SETTLING{5000};
constexpr Milliseconds LONGEST_UNLOADING{2000};
/// Longer than `runShellCommand` waits itself.
constexpr auto CHILDS_COMMAND_PATIENCE_MS = static_cast<std::uint32_t>(2 * COMMAND_PATIENCE.count());

/// Runs a command of the user's; false when it fails, which is reported.
bool runCommand(const Session& session, const char* option, const std::string& command) {
    const Doing doing{session.board, option, option, CHILDS_COMMAND_PATIENCE_MS};
    const bool isDone = runShellCommand(command);
    if (!isDone) {
        session.report.error(option, "a command that succeeds", "\"" + command + "\" failed");
    }
    return isDone;
}

void checkState(const Session& session, const std::string& when) {
    const auto status = session.status();
    if (status && status->state == GOOD_LINK) {
        session.report.error("communicationStatus", "another state than 2 " + when, "state 2");
    }
}

bool isGood(const Session& session) {
    const auto status = session.status();
    return status && status->state == GOOD_LINK;
}

void checkLossIsTold(const Session& session, const protocols::CommunicationStatus& before) {
    const auto status = session.status();
    if (!status) {
        return;
    }
    if (status->state != LOST_LINK) {
        session.report.warning("communicationStatus", "state 3 of a lost link",
                               "state " + std::to_string(status->state));
    }
    if (status->since < before.since) {
        session.report.error("communicationStatus", "a time of the loss",
                             "since " + status->since.toIso8601());
    }
}

/// After the device is back, the wrappers that were there all the time give values again.
void checkValuesAreBack(const Session& session, const std::vector<Sample>& samples) {
    for (const Sample& sample : samples) {
        const bool isBack = Session::await(LONGEST_SETTLING, [&] {
            Failure ignored;
            return session.read(*sample.wrapper, sample.point->text, &ignored).hasValue();
        });
        if (!isBack) {
            session.report.error(sample.point->text, "a value, since the device is back",
                                 "empty or an exception");
            return; // one is as telling as all
        }
    }
}

void checkReturn(Session& session, const std::vector<Sample>& samples) {
    // The library does not call `discover` while it waits for a lost device.
    if (!Session::await(session.options.loss, [&] { return isGood(session); })) {
        session.report.error("communicationStatus",
                             "state 2 within " + textOf(session.options.loss) +
                                 " of the device's return, without another discover",
                             "another state");
        return;
    }
    checkValuesAreBack(session, samples);
    checkIdentity(session, "its return");
}

std::vector<Sample> takeSettings(const Session& session) {
    std::vector<Sample> settings;
    for (const Point& point : session.points) {
        auto wrapper = point.family == Family::Setting ? session.build(point.path, point.text) : nullptr;
        Value value = wrapper ? session.read(*wrapper, point.text) : Value{};
        if (value.hasValue()) {
            settings.push_back({&point, std::move(wrapper), std::move(value)});
        }
    }
    return settings;
}

/// A setting that is written to a device that was let go has not been taken.
void checkNothingIsTaken(const Session& session, const std::vector<Sample>& settings) {
    for (const Sample& setting : settings) {
        bool taken = false;
        const Doing doing{session.board, "write", setting.point->text};
        const auto failure = failureOf([&] { taken = setting.wrapper->write(setting.value); });
        if (!failure && taken) {
            session.report.error(setting.point->text, "false for a value written after disconnect", "true");
        }
    }
}

bool letGo(Session& session) {
    const bool isGoneQuietly = session.call("disconnect", [&] { session.plugin.protocol->disconnect(); }) &&
                               session.call("stop", [&] { session.plugin.protocol->stop(); });
    session.call("the factory's destructor", [&] { session.plugin.factory.reset(); });
    session.call("the protocol's destructor", [&] { session.plugin.protocol.reset(); });
    const Doing doing{session.board, "unloading", "unloading"};
    session.plugin.release();
    return isGoneQuietly;
}

} // namespace

bool goesStale(const Point& point) {
    const auto* status = point.path.lastNode().getIf<EStatus>();
    const bool isOfTheDevice =
        status != nullptr && (*status == EStatus::StoragePresent || *status == EStatus::Present ||
                              *status == EStatus::BootloaderMode);
    return point.family == Family::Measure || (point.family == Family::Status && !isOfTheDevice);
}

std::vector<Sample> takeSamples(const Session& session) {
    std::vector<Sample> samples;
    for (const Point& point : session.points) {
        auto wrapper = goesStale(point) ? session.build(point.path, point.text) : nullptr;
        Value value = wrapper ? session.read(*wrapper, point.text) : Value{};
        if (value.hasValue()) {
            samples.push_back({&point, std::move(wrapper), std::move(value)});
        }
    }
    return samples;
}

void checkNothingIsStale(const Session& session, const std::vector<Sample>& samples,
                         const std::string& when) {
    for (const Sample& sample : samples) {
        Failure ignored; // an exception is a fair answer here
        Value value = session.read(*sample.wrapper, sample.point->text, &ignored);
        if (!value.hasValue()) {
            const auto fresh = session.build(sample.point->path, sample.point->text);
            value = fresh ? session.read(*fresh, sample.point->text, &ignored) : Value{};
        }
        if (value.hasValue()) {
            session.report.error(sample.point->text, "an empty value or an exception " + when,
                                 describe(value));
        }
    }
}

bool tryLoss(Session& session) {
    const Options& options = session.options;
    if (options.pauseCommand.empty()) {
        return true;
    }
    const auto before = session.status();
    const auto samples = takeSamples(session);
    if (!before) {
        return true;
    }
    session.board.isDeviceAway = true;
    if (!runCommand(session, "--pause-command", options.pauseCommand)) {
        session.board.isDeviceAway = false;
        return true;
    }
    if (Session::await(options.loss, [&] { return !isGood(session); })) {
        checkLossIsTold(session, *before);
        checkNothingIsStale(session, samples, "while the device is away");
    } else {
        session.report.error("communicationStatus",
                             "another state than 2 within " + textOf(options.loss) + " of the loss",
                             "state 2");
    }
    const bool isResumed = runCommand(session, "--resume-command", options.resumeCommand);
    session.board.isDeviceAway = false;
    if (isResumed) {
        checkReturn(session, samples);
    }
    return true;
}

bool tryDisconnect(Session& session) {
    const auto samples = takeSamples(session);
    const auto settings = takeSettings(session);
    session.call("disconnect", [&] { session.plugin.protocol->disconnect(); });
    checkState(session, "after disconnect");
    checkNothingIsStale(session, samples, "after disconnect");
    checkNothingIsTaken(session, settings);
    if (!findDevice(session)) {
        return false;
    }
    checkIdentity(session, "the second discovery");
    return true;
}

bool tryEnd(Session& session) {
    letGo(session);
    const bool areThreadsGone =
        Session::await(LONGEST_UNLOADING, [&] { return threadsOfThisProcess() <= session.threadsBefore; });
    if (!areThreadsGone) {
        session.report.error("stop", "every thread of the plug-in to be joined",
                             std::to_string(threadsOfThisProcess() - session.threadsBefore) +
                                 " that still run after the plug-in was unloaded");
        return false;
    }
    if (loadPlugin(session)) {
        session.call("discover", [&] { session.plugin.protocol->discover(); });
        letGo(session);
    }
    return true;
}

} // namespace velk::kit
