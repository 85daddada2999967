#pragma once

#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/engine/Engine.h"

namespace tessapi {

/// A store as an engine has it, for programs that show it.
/// Threads: any.
class BrowserClient final : public StoreBrowser {
public:
    /// Both outlive the object.
    BrowserClient(Engine& opened, Dispatcher& client) : engine{opened}, dispatcher{client} {}

    StoreSnapshot snapshot() override;
    void subscribeAllChannels(std::function<void(const ChannelWrite&)> callback,
                              std::uint64_t* subscription) override;
    std::string url() const override;
    std::vector<AlarmEvent> alarmEvents(std::int64_t sinceMs, std::size_t limit) override;
    std::vector<WriteRecord> writeRecords(std::int64_t sinceMs, std::size_t limit) override;
    void recordWrite(const WriteRecord& record) override;
    StoreImage image() override;
    void fill(const StoreImage& image) override;
    StoreHealth health() override;

private:
    Engine& engine;
    Dispatcher& dispatcher;
};

} // namespace tessapi
