#pragma once

#include "daemon/IStoreReader.h"
#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/common/Uuid.h"
#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/WriteRecord.h"
#include "powerdistribution/core/DeviceWrite.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace velk::daemon {

/// Notes each write to the device in the store, so that who asked for it can hear what became of it.
///
/// The notes stand on a device of the daemon's own, a child of the root: the last 256 as a JSON array, oldest
/// first, in the channel "Daemon.Writes", and the newest alone in "Daemon.LastWrite", which is written once
/// for every note, after the array. A note is
/// {"sequence":7,"device":"Outlets.1","channel":"Setting.AutomaticSwitchOffDelay","asked":"30","accepted":true,
/// "error":null,"time":"2026-11-21T13:38:11.000Z","by":{"program":"tess","user":"alice","pid":4711}}; the
/// sequence goes on where the store's notes end. A note of a write that was not accepted has "changedMs"
/// besides: when the store's channel got that value, by the clock of who wrote it, or null. As long as the
/// channel has changed at that very moment, it shows what the device has refused.
///
/// A program that wants to be named as the writer says so right before it writes, in the channel
/// "Daemon.Writer": {"device":…,"channel":…,"asked":…,"program":…,"user":…,"pid":…,"timeMs":…}, the time in
/// milliseconds since 1970. It counts for the next write of that data point with that value, within
/// `WRITER_LASTS` since this object has heard it, whatever others announce meanwhile; the time in it only
/// tells it from another one, since the writer's clock may be another machine's. What stood there before the
/// store was opened counts for nothing. "by" of any other write is null, except for what only the daemon
/// writes ("PrivateAction."): that is its own, with "" for the user.
///
/// Each write is also a record in the store's own ring of writes (tessapi::WriteRecord), which keeps more of
/// them than the notes; there nobody is "" for program and user.
///
/// A store that fails stops nothing: what it has not taken it is offered again by each `tick`, with the next
/// write and at the end. The notes do not wait for the records, since a store that is away keeps values and
/// no records. The failure is reported in one line, once until the store has worked again; of more than
/// `LENGTH` records that wait the oldest go, and how many the store never got is told when it takes the
/// others, or at the end.
///
/// Threads: any. Of what an IStoreReader is given it needs the tick alone.
class WriteJournal : public IStoreReader {
public:
    using Opener = std::function<std::unique_ptr<tessapi::ITessAccessor>()>;

    static constexpr std::size_t LENGTH = 256;
    static constexpr const char* WRITES = "Daemon.Writes";
    static constexpr const char* LAST_WRITE = "Daemon.LastWrite";
    static constexpr const char* WRITER = "Daemon.Writer";

    /// An announcement whose write never came must not name the writer of a later one.
    static constexpr velk::common::Clock::Duration WRITER_LASTS = std::chrono::seconds{60};
    static constexpr std::size_t MOST_ANNOUNCEMENTS = 32;

    /// The Uuid of the daemon's own device.
    static velk::common::Uuid deviceUuid();

    /// Finds or makes the daemon's own device in the store and gives its identifier. Failures of the store
    /// pass through.
    static std::uint64_t emplaceDaemonDevice(tessapi::ITessAccessor& store);

    /// `opener` makes the client of the store and may throw. `errors` and `clock` must outlive this object.
    WriteJournal(Opener opener, std::ostream& errors,
                 velk::common::Clock& clock = velk::common::Clock::system());

    /// Offers a store that is open what waits, once; one that is away is not waited for.
    ~WriteJournal() override;
    WriteJournal(const WriteJournal&) = delete;
    WriteJournal& operator=(const WriteJournal&) = delete;

    /// Makes device and channels, so that others can subscribe to them before the first note. Never throws a
    /// standard exception.
    void open() VELK_EXCLUDES(mutex);

    /// How many announcements of writers wait for their write.
    std::size_t announced() const VELK_EXCLUDES(hearing);

    /// Never throws a standard exception.
    void record(const velk::powerdistribution::DeviceWrite& write) VELK_EXCLUDES(mutex);

    /// Tries what has failed again. Never throws a standard exception.
    void tick() override VELK_EXCLUDES(mutex);
    void begin(tessapi::ITessAccessor& /*client*/) override {}
    void meet(const qz::CDevice& /*device*/, const tessapi::ChannelRecord& /*channel*/,
              bool /*isFormer*/) override {}
    void leave(std::uint64_t /*channel*/) override {}
    void take(const tessapi::ChannelWrite& /*write*/) override {}

private:
    using Note = nlohmann::ordered_json;
    struct Announcement {
        std::string text;
        velk::common::Clock::Duration heard{};
    };
    enum class Failing { Nothing, Records, Notes }; ///< without notes there are no records, either

    bool isOwing() const VELK_REQUIRES(mutex) { return unsaid != 0 || !unrecorded.empty(); }
    void writeOut() VELK_REQUIRES(mutex);
    void writeRecords() VELK_REQUIRES(mutex);
    void writeNotes() VELK_REQUIRES(mutex);
    void tellFailure(Failing present, const std::exception& failure) VELK_REQUIRES(mutex);
    void tellLost() VELK_REQUIRES(mutex);
    void openStore() VELK_REQUIRES(mutex);
    /// Who has announced this write; null when nobody has, or the store fails.
    Note writerOf(const Note& note) VELK_REQUIRES(mutex);
    /// When the store's channel got the value that `note` is about; null when it has another one by now, or
    /// the store fails.
    Note changeOf(const Note& note) VELK_REQUIRES(mutex);
    void hear(const std::string& announcement) VELK_EXCLUDES(hearing);
    /// It is of a time before this object, and of no write to come.
    void forget(const qz::CValue& announcement) VELK_EXCLUDES(hearing);
    void takeOver(const std::string& storedNotes) VELK_REQUIRES(mutex);

    Opener opener;
    std::ostream& errors;
    velk::common::Clock& clock;
    mutable velk::common::Mutex hearing; ///< last of the locks
    std::deque<Announcement> announcements VELK_GUARDED_BY(hearing);
    std::deque<std::string> used VELK_GUARDED_BY(hearing); ///< each counts for one write
    velk::common::Mutex mutex;
    std::unique_ptr<tessapi::ITessAccessor> store VELK_GUARDED_BY(mutex); ///< null until it could be opened
    std::uint64_t writesChannel VELK_GUARDED_BY(mutex){0};
    std::uint64_t lastWriteChannel VELK_GUARDED_BY(mutex){0};
    std::uint64_t writerChannel VELK_GUARDED_BY(mutex){0};
    std::deque<Note> notes VELK_GUARDED_BY(mutex);
    std::size_t unsaid VELK_GUARDED_BY(mutex){0}; ///< how many of the newest notes the store has not got
    std::deque<tessapi::WriteRecord> unrecorded VELK_GUARDED_BY(mutex); ///< what the ring has not got
    std::uint64_t lost VELK_GUARDED_BY(mutex){0}; ///< records that went, and nobody was told
    std::uint64_t sequence VELK_GUARDED_BY(mutex){0};
    Failing failing VELK_GUARDED_BY(mutex){Failing::Nothing}; ///< what was reported last
};

/// The record of a write of `note`'s form that ended at `nowMs` at the latest.
tessapi::WriteRecord recordOf(const nlohmann::ordered_json& note, const conv::UnixTime& time,
                              std::int64_t nowMs);

/// What was asked, in the store's own notation: "true", "30", "2026-11-21T13:38:11.000Z".
std::string askedText(const velk::powerdistribution::Value& value);

} // namespace velk::daemon
