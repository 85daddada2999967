#pragma once

#include "daemon/IStoreReader.h"
#include "platform/common/Mutex.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <ostream>
#include <string>

namespace velk::daemon {

/// Keeps in the store when the links to the device and its parts came and went.
///
/// The channel "Daemon.Communication" of the daemon's own device has the last 256 changes of all
/// "CommunicationStatus.State" as a JSON array, oldest first:
/// [{"timeMs":1795268291123,"device":"","state":"connected"},…]; "device" is the place of the part, "" for
/// the device itself, and "state" is "connected", "lost", "unknown" or, for a link that was let go because
/// the daemon was ended, "stopped". What another daemon has noted goes on; a state that has changed while no
/// daemon looked is noted with the time of its change.
///
/// A store that fails is told with the next change or `tick`; the failure is reported in one line, once until
/// it has worked again.
///
/// Threads: as an IStoreReader.
class CommunicationJournal : public IStoreReader {
public:
    static constexpr std::size_t LENGTH = 256;
    static constexpr const char* CHANNEL = "Daemon.Communication";
    static constexpr const char* STATE = "PowerDistribution.CommunicationStatus.State";

    /// `errors` must outlive this object.
    explicit CommunicationJournal(std::ostream& errorStream) : errors{errorStream} {}

    /// What is lost from now on was let go. Any thread.
    void expectEnd() VELK_EXCLUDES(mutex);

    void begin(tessapi::ITessAccessor& client) override VELK_EXCLUDES(mutex);
    void meet(const qz::CDevice& device, const tessapi::ChannelRecord& channel, bool isFormer) override
        VELK_EXCLUDES(mutex);
    void leave(std::uint64_t channel) override VELK_EXCLUDES(mutex);
    void take(const tessapi::ChannelWrite& write) override VELK_EXCLUDES(mutex);
    void tick() override VELK_EXCLUDES(mutex);

private:
    struct Note {
        std::int64_t timeMs{0};
        std::string device;
        std::string state;
    };

    void takeOver(const std::string& stored) VELK_REQUIRES(mutex);
    void note(const std::string& device, const qz::CValue& state, std::int64_t timeMs) VELK_REQUIRES(mutex);
    void writeOut() VELK_REQUIRES(mutex);

    std::ostream& errors;
    velk::common::Mutex mutex;
    tessapi::ITessAccessor* store VELK_GUARDED_BY(mutex){nullptr}; ///< of the feed
    std::uint64_t channel VELK_GUARDED_BY(mutex){0};
    std::map<std::uint64_t, std::string> places VELK_GUARDED_BY(mutex); ///< of the states
    std::map<std::string, std::string> present VELK_GUARDED_BY(mutex);  ///< the state by its place
    std::deque<Note> notes VELK_GUARDED_BY(mutex);
    bool ending VELK_GUARDED_BY(mutex){false};
    bool unsaid VELK_GUARDED_BY(mutex){false};
    bool failing VELK_GUARDED_BY(mutex){false};
};

} // namespace velk::daemon
