#include "platform/tessapi/client/BrowserClient.h"

#include "platform/tessapi/StoreImageCheck.h"

#include <stdexcept>

namespace tessapi {

StoreSnapshot BrowserClient::snapshot() {
    return engine.snapshot();
}

void BrowserClient::subscribeAllChannels(std::function<void(const ChannelWrite&)> callback,
                                         std::uint64_t* subscription) {
    dispatcher.subscribe(
        {},
        [&](const Engine::Start& start) {
            return std::make_unique<StoreSubscription>(start.seq, std::move(callback));
        },
        subscription);
}

std::string BrowserClient::url() const {
    return engine.url();
}

std::vector<AlarmEvent> BrowserClient::alarmEvents(std::int64_t sinceMs, std::size_t limit) {
    return engine.alarmEvents(sinceMs, limit);
}

std::vector<WriteRecord> BrowserClient::writeRecords(std::int64_t sinceMs, std::size_t limit) {
    return engine.writeRecords(sinceMs, limit);
}

void BrowserClient::recordWrite(const WriteRecord& record) {
    engine.recordWrite(record);
}

StoreImage BrowserClient::image() {
    return engine.image();
}

void BrowserClient::fill(const StoreImage& image) {
    if (const auto fault = findFault(image)) {
        throw std::invalid_argument{"store " + engine.url() + " cannot be filled: " + fault->text};
    }
    engine.fill(image);
}

StoreHealth BrowserClient::health() {
    return engine.health();
}

} // namespace tessapi
