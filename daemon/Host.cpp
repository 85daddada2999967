#include "daemon/Host.h"

#include "daemon/CommunicationJournal.h"
#include "daemon/ConfigurationFile.h"
#include "daemon/ExplainDesk.h"
#include "daemon/HostFactsWriter.h"
#include "daemon/LibraryManager.h"
#include "daemon/LifeSign.h"
#include "daemon/LogJournal.h"
#include "daemon/ServiceNotifier.h"
#include "daemon/SignalWatch.h"
#include "daemon/StoreFeed.h"
#include "daemon/Supervisor.h"
#include "daemon/SystemHostSource.h"
#include "daemon/WriteJournal.h"
#include "daemon/history/HistoryDesk.h"
#include "platform/tessapi/TessAccessor.h"

#include <chrono>
#include <iostream>
#include <memory>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velk::daemon {

namespace {

void say(const std::string& sentence) {
    std::cout << "powerdistributiond: " + sentence + "\n" << std::flush;
}

std::unique_ptr<tessapi::ITessAccessor> openStore() {
    return std::make_unique<tessapi::TessAccessor>("powerdistributiond", true);
}

HostSettings hostSettings(const std::string& path) {
    Findings told; // by whoever started the daemon with this file
    const auto file = ConfigurationFile::read(path, told);
    return file ? HostSettings::of(*file) : HostSettings{};
}

HistorySettings historySettings(const std::string& path) {
    Findings told; // by whoever started the daemon with this file
    const auto file = ConfigurationFile::read(path, told);
    return file ? HistorySettings::of(*file) : HistorySettings{};
}

std::int64_t wallMs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

/// Until the supervisor has come to its end.
void takeSignals(SignalWatch& signals, Supervisor& supervisor, const ServiceNotifier& notifier) {
    bool ending = false;
    while (const auto signal = signals.next()) {
        if (ending) {
            say(signalName(*signal) + " again, ending at once");
            // Nothing may run any more: a destructor could wait for the very thing that hangs.
            _exit(static_cast<int>(ExitCode::EndedHard));
        }
        ending = true;
        say(signalName(*signal) + " received, letting the device go; a second signal ends at once");
        notifier.stopping();
        supervisor.stop();
    }
}

} // namespace

ExitCode host(const std::string& path) {
    SignalWatch signals;
    const ServiceNotifier notifier = ServiceNotifier::fromEnvironment();
    WriteJournal journal{openStore, std::cerr};
    journal.open();
    const auto onDeviceWrite = [&journal](const velk::powerdistribution::DeviceWrite& write) {
        journal.record(write);
    };
    LogJournal log{openStore, std::cerr};
    const auto onDeviceLog = [&log](const velk::powerdistribution::DeviceLogPiece& piece) {
        log.record(piece);
    };
    LifeSign sign{openStore, std::cerr};
    ExplainDesk desk{openStore, std::cerr};
    desk.open();
    HistoryDesk history{historySettings(path), std::cerr, velk::common::Clock::system(), wallMs};
    CommunicationJournal links{std::cerr};
    auto feed =
        std::make_unique<StoreFeed>(openStore, std::vector<IStoreReader*>{&history, &links}, std::cerr);
    feed->open();
    // Before the first run, which subscribes only to what is there.
    SystemHostSource hostSource{hostSettings(path)};
    const HostFactsWriter hostFacts{openStore, hostSource, std::cerr};
    const auto makeManager = [&path, &onDeviceWrite, &onDeviceLog, &sign, &desk] {
        return std::make_unique<LibraryManager>(path, onDeviceWrite, onDeviceLog, sign, desk);
    };
    Supervisor supervisor{makeManager, velk::common::Clock::system(), std::cerr,
                          "check the configuration with: powerdistributiond --check --config " + path};
    std::thread runner{[&supervisor, &signals] {
        supervisor.run();
        signals.wake();
    }};
    say("started with " + path);
    notifier.ready();
    takeSignals(signals, supervisor, notifier);
    runner.join();
    feed.reset();
    history.finish();
    say("ended");
    return ExitCode::Done;
}

} // namespace velk::daemon
