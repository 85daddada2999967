#pragma once

#include "platform/tessapi/catalogue/Catalogue.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/network/ChannelMemory.h"
#include "platform/tessapi/network/Courier.h"
#include "platform/tessapi/network/NetworkUrl.h"
#include "platform/tessapi/network/RedisBell.h"
#include "platform/tessapi/network/RedisLink.h"
#include "platform/tessapi/network/SiteNews.h"
#include "platform/tessapi/network/ValueSender.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tessapi {

/// A store on servers of the network, one site of many. The rules of the store are functions that run on the
/// server (lua/): each write is one call of one of them.
///
/// While the server is away, values of channels that this program knows are taken and sent later; everything
/// else throws at once.
/// Threads: any.
class RedisEngine final : public Engine {
public:
    static std::shared_ptr<Engine> open(const NetworkUrl& url, bool create, const Options& options);

    const std::string& url() const override { return link.store(); }

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

    std::optional<ActiveAlarm> mostCriticalOf(std::uint64_t device) override;
    StoreSnapshot snapshot() override;

    std::vector<AlarmEvent> alarmEvents(std::int64_t sinceMs, std::size_t limit) override;
    std::vector<WriteRecord> writeRecords(std::int64_t sinceMs, std::size_t limit) override;
    void recordWrite(const WriteRecord& record) override;
    StoreImage image() override;
    void fill(const StoreImage& image) override;
    StoreHealth health() override;
    Waiting waiting() override { return courier.waiting(); }

    Start startOf(const std::vector<std::uint64_t>& channels) override;
    News newsAfter(std::int64_t seq) override;
    IBell& wakeup() override { return bell; }

private:
    RedisEngine(const NetworkUrl& url, const Options& options);

    void connect(bool create);
    void retypeChannels(const std::string& fingerprint);

    /// Runs `work`, which calls the server and reads its answers, and throws what this interface throws: an
    /// answer that no server of a store gives is as good as none.
    template <class Work>
    auto guarded(Work work);
    Reply ask(const Command& command);
    /// A writing call of a function, with what `fill` adds as its arguments.
    template <class Fill>
    Reply write(const char* function, Fill fill);
    void learnTypes(const std::vector<ChannelValue>& values);
    /// Adds the channels that the server has made or found for `names` up to `end`.
    void addMade(ReplyView found, const std::vector<std::string>& names, std::size_t end,
                 std::vector<std::uint64_t>& made);
    void forget(ReplyView channels);
    template <class Entry, class Unpack>
    std::vector<Entry> entriesOf(const std::string& key, std::int64_t sinceMs, std::size_t limit,
                                 Unpack unpack);

    const Catalogue& catalogue;
    RedisLink link;
    ChannelMemory channels;
    ValueSender sender;
    RedisBell bell;
    SiteNews siteNews;
    std::atomic<bool> unheard{false}; ///< the last look for changes failed, at a server that is there
    Courier courier;                  // before what it uses to go
};

} // namespace tessapi
