#include "daemon/LifeSign.h"

#include "daemon/WriteJournal.h"
#include "platform/common/ProcessMark.h"
#include "platform/tessapi/InBandAccessor.h"

#include <utility>

namespace velk::daemon {

using velk::common::MutexLock;

LifeSign::LifeSign(Opener storeOpener, std::ostream& errorStream, velk::common::Clock& waitingClock) :
    opener{std::move(storeOpener)}, errors{errorStream}, clock{waitingClock}, retrier{[this] { retry(); }} {}

LifeSign::~LifeSign() {
    {
        const MutexLock lock{mutex};
        ending = true;
        changed.notify_all();
    }
    retrier.join();
}

void LifeSign::abandon() {
    const MutexLock lock{mutex};
    abandoned = true;
    owed.reset();
}

void LifeSign::say(bool working) {
    const MutexLock lock{mutex};
    if (abandoned) {
        return;
    }
    owed = working;
    sayOwed();
    changed.notify_all();
}

void LifeSign::sayOwed() {
    try {
        write(*owed);
        owed.reset();
        failing = false;
    } catch (const std::exception& failure) {
        if (!failing) {
            errors << std::string{"powerdistributiond: the store cannot be told whether the daemon is at "
                                  "work: "} +
                          failure.what() + "\n"
                   << std::flush;
        }
        failing = true;
    }
}

void LifeSign::write(bool working) const {
    const std::unique_ptr<tessapi::ITessAccessor> store = opener();
    const std::uint64_t device = WriteJournal::emplaceDaemonDevice(*store);
    tessapi::InBandAccessor& inband = store->inbandAccessor();
    const std::string mark = working ? velk::common::ProcessMark::ofThisProcess() : std::string{};
    inband.setChannelCValue(inband.emplaceChannel(device, CHANNEL, false), qz::CValue{mark});
}

void LifeSign::retry() {
    MutexLock lock{mutex};
    while (!ending) {
        if (!owed) {
            changed.wait(lock);
            continue;
        }
        const velk::common::Clock::Duration due = clock.now() + RETRY;
        while (!ending && owed && clock.now() < due) {
            clock.waitFor(changed, lock, due - clock.now());
        }
        if (!ending && owed) {
            sayOwed();
        }
    }
}

} // namespace velk::daemon
