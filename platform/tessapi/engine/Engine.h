#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/common/Uuid.h"
#include "platform/qz/CDevice.h"
#include "platform/qz/CMultistateMap.h"
#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"
#include "platform/tessapi/AlarmEvent.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/StoreHealth.h"
#include "platform/tessapi/StoreImage.h"
#include "platform/tessapi/StoreWrites.h"
#include "platform/tessapi/WriteRecord.h"
#include "platform/tessapi/engine/Change.h"
#include "platform/tessapi/engine/IBell.h"
#include "platform/tessapi/engine/IOwnListener.h"
#include "platform/tessapi/engine/StoreUrl.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace tessapi {

/// A store as one program has it open: every call is one transaction, every commit wakes the listeners of all
/// programs.
///
/// A store that cannot be reached, read or written throws boost::system::system_error that names it. The
/// calls have the meaning of those of the same name in ITessAccessor, InBandAccessor and StoreBrowser.
/// Threads: any. No call crosses a fork of the process: it throws in the child.
class Engine {
public:
    struct Options {
        /// Entries of the change log that a listener may lag behind before it has to skip some.
        std::int64_t changesKept{65536};
        /// For another program that writes.
        std::chrono::milliseconds longestWait{3000};
        /// Alarm events, and likewise records of writes, that are kept.
        std::int64_t eventsKept{10'000};
        /// Frames of the log, of one page each, that are worth copying into the file.
        int framesToCopy{8192};
        /// How long what was committed waits for more to be synced with it.
        std::chrono::milliseconds restBeforeSync{500};
        /// Which says when measured values are to be copied to a disk.
        velk::common::Clock* clock{&velk::common::Clock::system()};
    };

    /// What a listener has to know when it starts: changes after `seq` are news to it.
    struct Start {
        std::int64_t seq{0};
        std::map<std::uint64_t, qz::CValue> values; ///< of the channels asked for
    };

    /// Changes in their order. With `gap` some are gone, and these are the last changes of each channel and
    /// device instead.
    struct News {
        std::vector<Change> changes;
        std::int64_t upTo{0}; ///< the newest change that they cover
        bool gap{false};
        bool more{true}; ///< whether there may be later ones already; false only for what the engine knows
    };

    using ChannelValue = std::pair<std::uint64_t, qz::CValue>;

    /// Writes that this program has made and that are not in the store yet, because its server is away.
    struct Waiting {
        std::uint64_t writes{0};
        std::int64_t sinceMs{0}; ///< milliseconds since 1970 UTC; 0 for none
    };

    /// Opens a store, or makes it if `create` says so. All engines of a store in memory are one.
    static std::shared_ptr<Engine> open(const StoreUrl& url, bool create) {
        return open(url, create, Options{});
    }
    static std::shared_ptr<Engine> open(const StoreUrl& url, bool create, const Options& options);

    Engine();
    virtual ~Engine() = default;
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    virtual const std::string& url() const = 0;
    /// Whether this process is another one than that which opened the store.
    bool isForked() const;

    virtual std::uint64_t deviceIdOf(const velk::common::Uuid& uuid) = 0;
    virtual velk::common::Uuid uuidOf(std::uint64_t device) = 0;
    virtual std::uint64_t emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parent,
                                        std::uint64_t wanted) = 0;
    virtual void removeSubDevices(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                                  unsigned int limit) = 0;
    virtual qz::CDevice device(std::uint64_t device) = 0;
    virtual std::string attribute(std::uint64_t device, std::uint32_t number) = 0;
    virtual void setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text) = 0;

    virtual std::uint64_t findChannel(std::uint64_t device, const std::string& name) = 0;
    virtual std::uint64_t emplaceChannel(std::uint64_t device, const std::string& name) = 0;
    virtual std::vector<std::uint64_t> emplaceChannels(std::uint64_t device,
                                                       const std::vector<std::string>& names);
    virtual void removeChannels(std::uint64_t device, const std::vector<std::uint64_t>& keep) = 0;
    virtual qz::datatype typeOf(std::uint64_t channel) = 0;
    virtual qz::CValue valueOf(std::uint64_t channel) = 0;
    virtual void setValue(std::uint64_t channel, const qz::CValue& value) = 0;
    virtual void setValues(const std::vector<ChannelValue>& values) = 0;
    virtual void setAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) = 0;
    virtual void setStates(std::uint64_t channel, const qz::CMultistateMap& states) = 0;

    virtual void apply(const StoreWrites& writes);

    virtual std::optional<ActiveAlarm> mostCriticalOf(std::uint64_t device) = 0;
    virtual StoreSnapshot snapshot() = 0;

    virtual std::vector<AlarmEvent> alarmEvents(std::int64_t sinceMs, std::size_t limit) = 0;
    virtual std::vector<WriteRecord> writeRecords(std::int64_t sinceMs, std::size_t limit) = 0;
    virtual void recordWrite(const WriteRecord& record) = 0;
    virtual StoreImage image() = 0;
    virtual void fill(const StoreImage& image) = 0;
    /// An engine that has more to tell than its name and URL overrides it.
    virtual StoreHealth health();
    /// Asks nobody, so that a program may look as often as it likes.
    virtual Waiting waiting() { return {}; }

    virtual Start startOf(const std::vector<std::uint64_t>& channels) = 0;
    /// At most some hundred changes; call again until there are none.
    virtual News newsAfter(std::int64_t seq) = 0;
    /// Rings for the listeners of this store; lives as long as the engine.
    virtual IBell& wakeup() = 0;

    /// From now on `listener` is asked whether the bell has to ring in this program, until it is removed,
    /// which waits for a call that is running. Without any listener it always rings.
    void add(IOwnListener& listener) VELK_EXCLUDES(listening);
    void remove(IOwnListener& listener) VELK_EXCLUDES(listening);

protected:
    /// Whether these changes, one or more, are nothing to all listeners of this program. Called without the
    /// locks that `startOf` takes.
    bool passOver(std::span<const Change> changes) VELK_EXCLUDES(listening);

    /// Throws `StoreFault::forked` in a process that has not opened the store.
    void checkNotForked() const;

private:
    const std::uint32_t forksBefore; ///< of this process and those that it comes from
    velk::common::Mutex listening;
    std::vector<IOwnListener*> listeners VELK_GUARDED_BY(listening);
};

} // namespace tessapi
