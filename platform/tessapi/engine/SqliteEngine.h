#pragma once

#include "platform/tessapi/engine/BreakableReads.h"
#include "platform/tessapi/engine/Connection.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/FileLock.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/Keeper.h"
#include "platform/tessapi/engine/NewsRing.h"
#include "platform/tessapi/engine/ReadCache.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/StoreUrl.h"
#include "platform/tessapi/engine/Wakeup.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessapi {

/// A store in a database, in a file or in memory: the two differ in what `open`
/// makes. Every call is one transaction; a call that writes waits for the lock
/// between the processes.
class SqliteEngine final : public Engine {
public:
    static std::shared_ptr<Engine> open(const StoreUrl& url, bool create, const Options& options);
    ~SqliteEngine() override;

    const std::string& url() const override { return store; }

    std::uint64_t deviceIdOf(const velk::common::Uuid& uuid) override;
    velk::common::Uuid uuidOf(std::uint64_t device) override;
    std::uint64_t emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parent,
                                std::uint64_t wanted) override;
    void removeSubDevices(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                          unsigned int limit) override;
    qz::CDevice device(std::uint64_t device) override;
    std::string attribute(std::uint64_t device, std::uint32_t number) override;
    void setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text) override;

    std::uint64_t findChannel(std::uint64_t device, const std::string& name) override;
    std::uint64_t emplaceChannel(std::uint64_t device, const std::string& name) override;
    std::vector<std::uint64_t> emplaceChannels(std::uint64_t device,
                                               const std::vector<std::string>& names) override;
    void removeChannels(std::uint64_t device, const std::vector<std::uint64_t>& keep) override;
    qz::datatype typeOf(std::uint64_t channel) override;
    qz::CValue valueOf(std::uint64_t channel) override;
    void setValue(std::uint64_t channel, const qz::CValue& value) override;
    void setValues(const std::vector<ChannelValue>& values) override;
    void setAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) override;
    void setStates(std::uint64_t channel, const qz::CMultistateMap& states) override;

    /// All in one transaction.
    void apply(const StoreWrites& writes) override;

    std::optional<ActiveAlarm> mostCriticalOf(std::uint64_t device) override;
    StoreSnapshot snapshot() override;

    std::vector<AlarmEvent> alarmEvents(std::int64_t sinceMs, std::size_t limit) override;
    std::vector<WriteRecord> writeRecords(std::int64_t sinceMs, std::size_t limit) override;
    void recordWrite(const WriteRecord& record) override;
    StoreImage image() override;
    void fill(const StoreImage& image) override;
    StoreHealth health() override;

    Start startOf(const std::vector<std::uint64_t>& channels) override;
    News newsAfter(std::int64_t seq) override;
    IBell& wakeup() override { return bell; }

private:
    SqliteEngine(const StoreUrl& url, std::unique_ptr<SharedPage> words, const Options& options);

    static std::shared_ptr<Engine> openFile(const StoreUrl& url, bool create, const Options& options);
    static std::shared_ptr<Engine> openMemory(const StoreUrl& url, bool create, const Options& options);
    /// Throws when the database's file is gone; then nothing is known any more.
    void checkStillThere(Database& database);
    void setValues(std::span<const ChannelValue> values);
    /// Reads the channel from the database and keeps what it has read.
    TypedValue learn(std::uint64_t channel);
    std::uint64_t learnDevice(const velk::common::Uuid& uuid);
    /// Without the database; empty when it has to be asked.
    std::optional<Start> knownStart(const std::vector<std::uint64_t>& channels);
    using Channels = std::vector<ChannelTable::Found>;
    Channels learnAll(std::uint64_t device, const std::vector<std::string>& names);
    Channels makeAll(std::uint64_t device, const std::vector<std::string>& names);
    void keep(std::uint64_t before, std::uint64_t after, const Channels& channels);

    void connect(const std::string& path, bool create, bool working, const Options& options);
    void checkSound();
    void retypeChannels();

    /// Runs `work` on the model within a write transaction and tells of the
    /// commit. `follow` is called with the generations of the store before and
    /// after it.
    template <class Work, class Follow>
    void write(Work work, Follow follow);
    /// After this nothing is known any more.
    template <class Work>
    void write(Work work);
    /// It removes nothing, and changes no type and no value.
    template <class Work>
    void writeAside(Work work);
    /// Gives what listeners have to hear of.
    template <class Work, class Follow>
    std::vector<Change> commit(Work& work, Follow& follow) VELK_REQUIRES(writer->mutex);
    /// Wakes the listeners that have to look after a commit of `changes`.
    void tell(std::span<const Change> changes);
    /// Runs one query of the model.
    template <class Work>
    auto ask(Work work);
    /// Runs several queries of the model on one state of the store.
    template <class Work>
    auto read(Work work);
    /// From the change log of the database.
    News newsFromLog(std::int64_t seq);
    /// The generation was `before` when `found` was taken.
    News newsFromRing(NewsRing::Found found, std::uint64_t before);
    std::uint64_t generation() const { return page->words().generation.load(); }

    const std::string store;
    std::string file;                    ///< that programs work on; empty in memory
    std::string copyFile;                ///< on disk, of a store that is worked on in memory; else empty
    std::chrono::seconds valuesEvery{0}; ///< that measured values are copied there
    std::unique_ptr<FileLock> use;       ///< shared by all programs with the store; null in memory
    std::unique_ptr<SharedPage> page;
    std::unique_ptr<InterprocessLock> writers;
    BreakableReads reads;
    Wakeup bell;
    NewsRing ring;
    ReadCache known;
    Catalogue catalogue;
    std::unique_ptr<Connection> writer;
    std::unique_ptr<Connection> secondConnection; ///< null in memory
    Connection* reader{nullptr};                  ///< the second connection, in memory the writer
    std::unique_ptr<Keeper> keeper;               ///< null in memory; before the lock and the page to go
};

} // namespace tessapi
