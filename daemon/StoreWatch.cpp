#include "daemon/StoreWatch.h"

#include "platform/common/UnixTime.h"
#include "platform/tessapi/StoreAdvice.h"
#include "platform/tessapi/StoreBrowser.h"

#include <boost/system/system_error.hpp>

#include <exception>
#include <utility>

namespace velk::daemon {

using velk::common::MutexLock;

StoreWatch::StoreWatch(Opener storeOpener, OnLost whomToTell, velk::common::Clock& waitingClock) :
    opener{std::move(storeOpener)}, onLost{std::move(whomToTell)}, clock{waitingClock}, thread{[this] {
        run();
    }} {}

StoreWatch::~StoreWatch() {
    {
        const MutexLock lock{mutex};
        ending = true;
        changed.notify_all();
    }
    thread.join();
}

void StoreWatch::run() {
    std::string since;
    MutexLock lock{mutex};
    while (!ending) {
        lock.unlock();
        const std::string loss = look();
        if (!loss.empty() && !since.empty()) {
            onLost(std::string{loss}.append(", since ").append(since));
            return;
        }
        since = loss.empty() ? "" : conv::UnixTime::now().toIso8601();
        lock.lock();
        const velk::common::Clock::Duration due = clock.now() + PERIOD;
        while (!ending && clock.now() < due) {
            clock.waitFor(changed, lock, due - clock.now());
        }
    }
}

std::string StoreWatch::look() {
    try {
        if (!store) {
            std::unique_ptr<tessapi::ITessAccessor> opened = opener();
            const tessapi::StoreHealth health = opened->browser().health();
            copy = health.copy ? CopySeat{health.copy->path} : CopySeat{};
            store = std::move(opened);
        }
        const std::string name = "store " + store->browser().url();
        if (store->uuidOf(tessapi::ITessAccessor::ROOT_DEVICE) == velk::common::Uuid::NIL) {
            return name + ": the server has lost what was in it";
        }
        return copy.isLost() ? name + ": the copy on disk was removed or replaced" : "";
    } catch (const boost::system::system_error& failure) {
        return tessapi::isStoreLost(failure.code()) ? failure.what() : "";
    } catch (const std::exception&) {
        return ""; // whoever works with the store tells
    }
}

} // namespace velk::daemon
