#pragma once

#include "daemon/IHostSource.h"
#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/ITessAccessor.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>

namespace velk::daemon {

/// Keeps the facts of the host in the store, from where the library hands them to the device: the addresses
/// in channels of the root device, product name and firmware version in its attributes.
///
/// The channels exist from the first writing on, also while there is no address, since what comes into being
/// later is not heard of. Only what the store has otherwise is written. A store that fails is told again with
/// the next reading. That, and what the source cannot find, is reported in one line, once until it has been
/// well again.
///
/// Threads: construction and destruction on one; it has one of its own, which inherits the signals that the
/// constructing thread blocks.
class HostFactsWriter {
public:
    using Opener = std::function<std::unique_ptr<tessapi::ITessAccessor>()>;

    static constexpr const char* MAC_ADDRESS = "System.Ethernet.MacAddress";
    static constexpr const char* IPV4_ADDRESS = "System.Ethernet.CurrentIpv4Address";
    static constexpr const char* IPV6_ADDRESS = "System.Ethernet.CurrentIpv6Address";

    /// How often the facts are read; an address that has changed reaches the store within that time.
    static constexpr velk::common::Clock::Duration PERIOD = std::chrono::seconds{5};

    /// Writes what the facts are before it returns, unless the store fails. `opener` makes the client of the
    /// store and may throw. `source`, `errors` and `clock` must outlive this object.
    HostFactsWriter(Opener opener, IHostSource& source, std::ostream& errors,
                    velk::common::Clock& clock = velk::common::Clock::system());
    ~HostFactsWriter();
    HostFactsWriter(const HostFactsWriter&) = delete;
    HostFactsWriter& operator=(const HostFactsWriter&) = delete;

private:
    void run() VELK_EXCLUDES(mutex);
    void update();
    std::optional<IHostSource::Reading> look();
    void tellTrouble(const std::string& present);
    void report(const std::string& sentence);
    void write(const HostFacts& facts);

    const Opener opener;
    IHostSource& source;
    std::ostream& errors;
    velk::common::Clock& clock;
    // Only the constructor, and after it the thread, uses these.
    std::unique_ptr<tessapi::ITessAccessor> store; ///< null until it could be opened, and after a failure
    std::optional<HostFacts> known;                ///< what the store has; empty when that is not known
    std::string trouble;                           ///< what was reported last
    bool failing{false};
    velk::common::Mutex mutex;
    std::condition_variable_any changed;
    bool ending VELK_GUARDED_BY(mutex){false};
    std::thread thread; ///< last: it uses all the others
};

} // namespace velk::daemon
