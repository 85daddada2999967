#include "daemon/StoreFeed.h"

#include "platform/tessapi/StoreAdvice.h"

#include <algorithm>
#include <exception>
#include <unordered_map>
#include <utility>

namespace velk::daemon {

using velk::common::MutexLock;

StoreFeed::StoreFeed(Opener storeOpener, std::vector<IStoreReader*> allReaders, std::ostream& errorStream,
                     velk::common::Clock& waitingClock) :
    opener{std::move(storeOpener)},
    readers{std::move(allReaders)},
    errors{errorStream},
    clock{waitingClock},
    thread{[this] { run(); }} {}

StoreFeed::~StoreFeed() {
    {
        const MutexLock lock{mutex};
        ending = true;
        changed.notify_all();
    }
    thread.join();
    std::unique_ptr<tessapi::ITessAccessor> closing;
    {
        const MutexLock lock{mutex};
        closing = std::move(store);
    }
    closing.reset(); // waits for a write that is being given, which needs the lock
}

void StoreFeed::open() {
    const MutexLock lock{mutex};
    lookAfter();
}

void StoreFeed::run() {
    MutexLock lock{mutex};
    while (!ending) {
        clock.waitFor(changed, lock, TICK);
        if (ending) {
            return;
        }
        lookAfter();
        // Readers may be long at it; writes go on meanwhile.
        lock.unlock();
        for (IStoreReader* reader : readers) {
            reader->tick();
        }
        lock.lock();
    }
}

void StoreFeed::lookAfter() {
    try {
        if (!store) {
            openStore();
        } else if (!waiting.empty()) {
            meetAll(false);
            giveWaiting();
        }
        failing = false;
    } catch (const std::exception& failure) {
        if (!tessapi::isStoreLost(failure)) { // which whoever watches the store tells
            tell(std::string{"what is written into the store cannot be read: "} + failure.what());
        }
    }
}

void StoreFeed::giveWaiting() {
    for (const tessapi::ChannelWrite& write : std::exchange(waiting, {})) {
        if (known.contains(write.channel)) {
            give(write); // others were gone before anybody met them
        }
    }
}

void StoreFeed::tell(const std::string& trouble) {
    if (!std::exchange(failing, true)) {
        errors << "powerdistributiond: " + trouble + "; tess history and tess events will not know of it\n"
               << std::flush;
    }
}

void StoreFeed::openStore() {
    std::unique_ptr<tessapi::ITessAccessor> opened = opener();
    for (IStoreReader* reader : readers) {
        reader->begin(*opened);
    }
    // Its client thread waits for the lock until all channels have been met.
    opened->browser().subscribeAllChannels([this](const tessapi::ChannelWrite& write) { onWrite(write); },
                                           nullptr);
    store = std::move(opened);
    meetAll(true);
}

void StoreFeed::meetAll(bool isFormer) {
    const tessapi::StoreSnapshot snapshot = store->browser().snapshot();
    std::unordered_map<std::uint64_t, const qz::CDevice*> devices;
    for (const qz::CDevice& device : snapshot.devices) {
        devices.emplace(device.id, &device);
    }
    std::unordered_set<std::uint64_t> present;
    present.reserve(snapshot.channels.size());
    for (const tessapi::ChannelRecord& channel : snapshot.channels) {
        present.insert(channel.id);
        if (!known.contains(channel.id)) {
            for (IStoreReader* reader : readers) {
                reader->meet(*devices.at(channel.deviceId), channel, isFormer);
            }
        }
    }
    for (const std::uint64_t channel : known) {
        for (IStoreReader* reader : readers) {
            if (!present.contains(channel)) {
                reader->leave(channel);
            }
        }
    }
    known = std::move(present);
}

void StoreFeed::onWrite(const tessapi::ChannelWrite& write) {
    const MutexLock lock{mutex};
    if (known.contains(write.channel)) {
        give(write);
        return;
    }
    waiting.push_back(write);
    if (waiting.size() > MOST_WAITING) {
        waiting.pop_front();
    }
}

void StoreFeed::give(const tessapi::ChannelWrite& write) {
    for (IStoreReader* reader : readers) {
        reader->take(write);
    }
}

} // namespace velk::daemon
