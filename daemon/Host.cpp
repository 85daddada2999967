#include "daemon/Host.h"

#include "daemon/ConfigurationFile.h"
#include "daemon/ServiceNotifier.h"
#include "daemon/SignalWatch.h"
#include "daemon/StoreSession.h"
#include "daemon/StoreSettings.h"
#include "daemon/Supervisor.h"
#include "daemon/history/HistoryDesk.h"
#include "platform/common/WallTime.h"

#include <iostream>
#include <memory>
#include <thread>
#include <unistd.h>
#include <utility>

namespace velk::daemon {

namespace {

void say(const std::string& sentence) {
    std::cout << "powerdistributiond: " + sentence + "\n" << std::flush;
}

/// One member of the file.
template <class Settings>
Settings settingsOf(const std::string& path) {
    Findings told; // by whoever started the daemon with this file
    const auto file = ConfigurationFile::read(path, told);
    return file ? Settings::of(*file) : Settings{};
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
    settingsOf<StoreSettings>(path).apply();
    SignalWatch signals;
    const ServiceNotifier notifier = ServiceNotifier::fromEnvironment();
    HistoryDesk history{settingsOf<HistorySettings>(path), std::cerr, velk::common::Clock::system(),
                        velk::common::wallMs};
    const auto makeSession = [&path, &history, &notifier, begun = false]() mutable {
        auto session = std::make_unique<StoreSession>(path, history, std::cerr);
        if (!std::exchange(begun, true)) {
            say("started with " + path);
            notifier.ready();
        }
        return session;
    };
    Supervisor supervisor{makeSession, velk::common::Clock::system(), std::cerr,
                          "it opens the store that is there then, and nothing else is to be done"};
    std::thread runner{[&supervisor, &signals] {
        supervisor.run();
        signals.wake();
    }};
    takeSignals(signals, supervisor, notifier);
    runner.join();
    history.finish();
    say("ended");
    return ExitCode::Done;
}

} // namespace velk::daemon
