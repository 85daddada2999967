#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "plugins/nut/Interrupt.h"
#include "plugins/nut/NutClient.h"
#include "plugins/nut/NutConfiguration.h"
#include "plugins/nut/Snapshot.h"
#include "powerdistribution/protocols/CommunicationStatus.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>

namespace velk::nut {

/// Knows the device: asks the server for all variables once an interval, on a thread of its own and over a
/// connection of its own, and keeps what it said.
///
/// Data are good after two successive lists with the same names, none of them the placeholder that a server
/// gives while a driver starts. They are lost when the server says that they are stale or that the driver is
/// gone, and when the connection ends or falls silent: at the latest after twice the interval and a second.
/// Questions about what can be done with the device do not put that off.
/// A lost server is tried again by itself, with growing pauses.
///
/// Threads: any for all operations but `start` and `stop`, which come from one thread at a time.
class Poller {
public:
    using Duration = velk::common::Clock::Duration;

    Poller(const NutConfiguration& settings, Interrupt& stopped, velk::common::Clock& time);
    ~Poller(); ///< stops
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    void start();
    /// Ends and joins the thread, whatever it waits for. A stopped poller may be started again.
    void stop() VELK_EXCLUDES(mutex);

    /// Takes the device: true when data are good; then they are served until `detach`.
    bool attach() VELK_EXCLUDES(mutex);
    void detach() VELK_EXCLUDES(mutex);

    /// State 2 while data are good and the device is taken, otherwise 3; with the time of the last change.
    powerdistribution::protocols::CommunicationStatus status() const VELK_EXCLUDES(mutex);

    /// The present data; null while they are lost or the device is not taken.
    std::shared_ptr<const Snapshot> current() const VELK_EXCLUDES(mutex);
    /// The last good data, however old; null before the first. What the device is built of does not change
    /// because it cannot be reached.
    std::shared_ptr<const Snapshot> lastGood() const VELK_EXCLUDES(mutex);

    /// Puts in what the device has just been seen to hold. A list that was asked for earlier does not undo
    /// it.
    void put(const std::string& variable, const std::string& text) VELK_EXCLUDES(mutex);

private:
    /// A value that is younger than a list that may still be on its way.
    struct FreshValue {
        std::string text;
        std::uint64_t moment;
    };

    void run() VELK_EXCLUDES(mutex);
    /// One list; gives the pause until the next.
    Duration poll() VELK_EXCLUDES(mutex);
    Duration pauseAfterLoss();
    /// Brings `known` up to date with the names of the variables. Asks nothing more once it is `until`; what
    /// is open then is asked in a later round.
    void learnCapabilities(const Variables& variables, Duration until);
    const VariableLimits& limitsOf(const std::string& variable);
    void accept(Variables variables, std::uint64_t asked) VELK_EXCLUDES(mutex);
    void putFreshValues(Variables& variables, std::uint64_t asked) VELK_REQUIRES(mutex);
    void lose(const std::string& reason) VELK_EXCLUDES(mutex);
    void setState(bool isGood, bool isAttached) VELK_REQUIRES(mutex);
    bool isStopping() const VELK_EXCLUDES(mutex);
    bool isGood() const VELK_EXCLUDES(mutex);

    const NutConfiguration& configuration;
    Interrupt& interrupt;
    velk::common::Clock& clock;

    // Of the thread alone.
    std::unique_ptr<NutClient> client;
    std::set<std::string> names; ///< of the last list; empty when the next one begins anew
    std::shared_ptr<const Capabilities> known;
    std::set<std::string> namesOfKnown;           ///< for which `known` was asked
    std::map<std::string, VariableLimits> limits; ///< of the variables that were asked for them
    Duration lossPause;
    std::string reported; ///< the loss that people were told of

    mutable velk::common::Mutex mutex;
    std::condition_variable_any wakeUp;
    bool stopping VELK_GUARDED_BY(mutex){false};
    bool good VELK_GUARDED_BY(mutex){false};
    bool attached VELK_GUARDED_BY(mutex){false};
    conv::UnixTime since VELK_GUARDED_BY(mutex){conv::UnixTime::now()};
    std::shared_ptr<const Snapshot> last VELK_GUARDED_BY(mutex);
    std::uint64_t moments VELK_GUARDED_BY(mutex){0}; ///< counts lists asked for and values put
    std::map<std::string, FreshValue> freshValues VELK_GUARDED_BY(mutex);

    std::thread thread;
};

} // namespace velk::nut
