#include "platform/tessapi/client/BrowserClient.h"

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

} // namespace tessapi
