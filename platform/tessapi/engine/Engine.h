#pragma once

#include "platform/tessapi/engine/Connection.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/Keeper.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/StoreUrl.h"
#include "platform/tessapi/engine/Wakeup.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tessapi {

/// A store as one program has it open: every call is one transaction on the database, every commit wakes the
/// listeners of all programs. An engine for a file and one in memory differ in what `open` makes.
///
/// A call that writes waits for the lock between the processes, then throws boost::system::system_error. The
/// calls have the meaning of those of the same name in ITessAccessor, InBandAccessor and StoreBrowser.
/// Threads: any. No call crosses a fork of the process: it throws in the child.
class Engine {
public:
    struct Options {
        /// Entries of the change log that a listener may lag behind before it has to skip some.
        std::int64_t changesKept{65536};
        /// For the lock between the processes.
        std::chrono::milliseconds longestWait{3000};
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
    };

    /// Opens a store, or makes it if `create` says so. All engines of a store in memory are one.
    static std::shared_ptr<Engine> open(const StoreUrl& url, bool create) {
        return open(url, create, Options{});
    }
    static std::shared_ptr<Engine> open(const StoreUrl& url, bool create, const Options& options);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    const std::string& url() const { return store; }
    /// Whether this process is another one than that which opened the store.
    bool isForked() const;

    std::uint64_t deviceIdOf(const velk::common::Uuid& uuid);
    velk::common::Uuid uuidOf(std::uint64_t device);
    std::uint64_t emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parent, std::uint64_t wanted);
    void removeSubDevices(std::uint64_t device, const std::vector<std::uint64_t>& keep, unsigned int limit);
    qz::CDevice device(std::uint64_t device);
    std::string attribute(std::uint64_t device, std::uint32_t number);
    void setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text);

    std::uint64_t findChannel(std::uint64_t device, const std::string& name);
    std::uint64_t emplaceChannel(std::uint64_t device, const std::string& name);
    void removeChannels(std::uint64_t device, const std::vector<std::uint64_t>& keep);
    qz::datatype typeOf(std::uint64_t channel);
    qz::CValue valueOf(std::uint64_t channel);
    void setValue(std::uint64_t channel, const qz::CValue& value);
    void setAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config);
    void setStates(std::uint64_t channel, const qz::CMultistateMap& states);

    std::optional<ActiveAlarm> mostCriticalOf(std::uint64_t device);
    StoreSnapshot snapshot();

    Start startOf(const std::vector<std::uint64_t>& channels);
    /// At most some hundred changes; call again until there are none.
    News newsAfter(std::int64_t seq);
    Wakeup& wakeup() { return bell; }

private:
    Engine(const StoreUrl& url, std::unique_ptr<SharedPage> words, const Options& options);

    static std::shared_ptr<Engine> openFile(const StoreUrl& url, bool create, const Options& options);
    static std::shared_ptr<Engine> openMemory(const StoreUrl& url, bool create, const Options& options);
    void checkSound();
    void retypeChannels();
    void checkUsable() const;

    /// Runs `work` on the model within a write transaction and tells of the commit.
    template <class Work>
    void write(Work work);
    template <class Work>
    void commit(Work& work) VELK_REQUIRES(writer->mutex);
    /// Runs one query of the model.
    template <class Work>
    auto ask(Work work);
    /// Runs several queries of the model on one state of the store.
    template <class Work>
    auto read(Work work);

    const std::string store;
    const pid_t owner;
    std::unique_ptr<SharedPage> page;
    std::unique_ptr<InterprocessLock> writers;
    Wakeup bell;
    Catalogue catalogue;
    std::unique_ptr<Connection> writer;
    std::unique_ptr<Connection> secondConnection; ///< null in memory
    Connection* reader{nullptr};                  ///< the second connection, in memory the writer
    std::unique_ptr<Keeper> keeper;               ///< null in memory; before the lock and the page to go
};

} // namespace tessapi
