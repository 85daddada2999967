#include "platform/tessapi/TessAccessor.h"

#include "platform/tessapi/client/AlarmClient.h"
#include "platform/tessapi/client/BrowserClient.h"
#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/client/InBandClient.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/StoreUrl.h"

#include <utility>

namespace tessapi {

class TessAccessor::Client {
public:
    Client(const std::string& name, const std::string& url, bool create) :
        engine{Engine::open(StoreUrl{url}, create)},
        channels{*engine, dispatcher},
        alarms{*engine},
        browser{*engine, dispatcher},
        dispatcher{name, engine} {}

    const std::shared_ptr<Engine> engine;
    InBandClient channels;
    AlarmClient alarms;
    BrowserClient browser;
    Dispatcher dispatcher; ///< last: until its thread has ended, a callback may use all the others
};

TessAccessor::TessAccessor(const std::string& name, bool create) :
    client{std::make_unique<Client>(name, defaultUrl(), create)} {}

TessAccessor::TessAccessor(std::unique_ptr<Client> opened) : client{std::move(opened)} {}

std::unique_ptr<TessAccessor> TessAccessor::open(const std::string& name, const std::string& url,
                                                 bool create) {
    return std::unique_ptr<TessAccessor>{new TessAccessor{std::make_unique<Client>(name, url, create)}};
}

TessAccessor::~TessAccessor() {
    if (client->engine->isForked()) {
        // Its threads are not in this process, and closing its files would take away the parent's locks.
        static_cast<void>(client.release());
    }
}

std::string TessAccessor::defaultUrl() {
    return StoreUrl::ofEnvironment();
}

InBandAccessor& TessAccessor::inbandAccessor() {
    return client->channels;
}

DataAlarms& TessAccessor::alarmsAccessor() {
    return client->alarms;
}

StoreBrowser& TessAccessor::browser() {
    return client->browser;
}

std::uint64_t TessAccessor::deviceIdOf(const velk::common::Uuid& uuid) {
    return client->engine->deviceIdOf(uuid);
}

velk::common::Uuid TessAccessor::uuidOf(std::uint64_t deviceId) {
    return client->engine->uuidOf(deviceId);
}

std::uint64_t TessAccessor::emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parentId,
                                          std::uint64_t wantedId) {
    return client->engine->emplaceDevice(uuid, parentId, wantedId);
}

void TessAccessor::removeAllSubDevicesExcept(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                                             unsigned int limit) {
    client->engine->removeSubDevices(device, keep, limit);
}

} // namespace tessapi
