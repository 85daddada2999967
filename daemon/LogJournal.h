#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/ITessAccessor.h"
#include "powerdistribution/core/DeviceLog.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

namespace velk::daemon {

/// Keeps the newest part of the device's own event log in the store, where other programs can read it.
///
/// It stands in the channel "Daemon.DeviceLog" of the daemon's own device, as one object, oldest entry first:
/// {"device":"<Uuid>","error":null,"errorTime":null,"first":{…},"entries":[{"sequence":1,"id":40,
/// "time":1795268291,"severity":2,"code":120,"status":1,"mode":3,"reason":0,"data":0},…]}.
/// "device" is whose log it is: with another device the entries begin anew. "error" says why the log could
/// not be read last, since "errorTime". Times are seconds since 1970 UTC, those of entries by the device's
/// clock. The sequence counts entries in the order in which they came and never falls, whatever the device's
/// own numbers do. The channel exists once a device has shown that it has a log, and is written only when
/// there is something new.
///
/// A model that is built anew asks the device for its whole log again; what is known is not noted twice.
/// "first" is the entry with which the device's present numbers began, or null: it tells an old entry that
/// had to go here from one of a device that began its log anew. An entry that is the same in everything is
/// the same entry, also when the device has begun anew.
///
/// A store that fails stops nothing: what it has not got it is told with the next piece, and the failure is
/// reported in one line, once until the store has worked again.
///
/// Threads: any.
class LogJournal {
public:
    using Opener = std::function<std::unique_ptr<tessapi::ITessAccessor>()>;
    using Entry = velk::powerdistribution::InternalLogChunk::InternalLogEntry;

    static constexpr std::size_t LENGTH = 256;
    static constexpr const char* CHANNEL = "Daemon.DeviceLog";

    /// `opener` makes the client of the store and may throw. `errors` must outlive this object.
    LogJournal(Opener opener, std::ostream& errors);

    /// Never throws a standard exception.
    void record(const velk::powerdistribution::DeviceLogPiece& piece) VELK_EXCLUDES(mutex);

private:
    struct Note {
        std::uint64_t sequence{0};
        Entry entry;
    };

    void take(const velk::powerdistribution::DeviceLogPiece& piece) VELK_REQUIRES(mutex);
    void add(const Entry& entry) VELK_REQUIRES(mutex);
    bool isNoted(const Entry& entry) const VELK_REQUIRES(mutex);
    bool beginsNumbers(const Entry& entry) const VELK_REQUIRES(mutex);
    bool hadToGo(const Entry& entry) const VELK_REQUIRES(mutex);
    void openStore() VELK_REQUIRES(mutex);
    void takeOver(const std::string& stored) VELK_REQUIRES(mutex);
    void turnTo(const std::string& presentDevice) VELK_REQUIRES(mutex);
    void writeOut() VELK_REQUIRES(mutex);

    Opener opener;
    std::ostream& errors;
    velk::common::Mutex mutex;
    std::unique_ptr<tessapi::ITessAccessor> store VELK_GUARDED_BY(mutex); ///< null until it could be opened
    std::uint64_t channel VELK_GUARDED_BY(mutex){0};
    std::string device VELK_GUARDED_BY(mutex); ///< whose log it is
    std::string error VELK_GUARDED_BY(mutex);  ///< empty while the log can be read
    std::uint32_t errorTime VELK_GUARDED_BY(mutex){0};
    std::deque<Note> notes VELK_GUARDED_BY(mutex);
    std::optional<Note> first VELK_GUARDED_BY(mutex); ///< where the present numbers began; empty before any
    std::uint64_t sequence VELK_GUARDED_BY(mutex){0};
    bool unsaid VELK_GUARDED_BY(mutex){true}; ///< the store has something else than what is here
    bool failing VELK_GUARDED_BY(mutex){false};
};

} // namespace velk::daemon
