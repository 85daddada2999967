#include "cli/Outcome.h"

#include "platform/tessapi/InBandAccessor.h"

namespace velk::cli {

using velk::common::MutexLock;

Outcome::Outcome(tessapi::ITessAccessor& tess, velk::common::Clock& waitingClock) :
    store{tess}, clock{waitingClock}, inbox{std::make_shared<Inbox>()} {
    tessapi::InBandAccessor& inband = store.inbandAccessor();
    const std::uint64_t device = store.deviceIdOf(JournalEntry::deviceUuid());
    const std::uint64_t channel = inband.getCatchedChannelId(device, JournalEntry::LAST_WRITE);
    if (channel == tessapi::ITessAccessor::UNKNOWN_ID) {
        return;
    }
    possible = true;
    const auto receive = [target = inbox](std::uint64_t, const qz::CValue& value) {
        const std::string* text = std::get_if<std::string>(&value.variant());
        const std::optional<JournalEntry> note = text ? JournalEntry::parse(*text) : std::nullopt;
        if (note) {
            const MutexLock lock{target->mutex};
            target->notes.push_back(*note);
            target->arrived.notify_all();
        }
    };
    inband.subscribeMultipleChannels({channel}, receive, qz::sub::everyWrite, &subscription);
}

Outcome::~Outcome() {
    if (possible) {
        store.inbandAccessor().unsubscribe(subscription);
    }
}

std::optional<JournalEntry> Outcome::waitFor(const std::string& device, const std::string& channel,
                                             const std::string& asked,
                                             velk::common::Clock::Duration timeout) {
    const velk::common::Clock::Duration deadline = clock.now() + timeout;
    MutexLock lock{inbox->mutex};
    for (;;) {
        while (!inbox->notes.empty()) {
            const JournalEntry note = inbox->notes.front();
            inbox->notes.pop_front();
            if (note.device == device && note.channel == channel && note.asked == asked) {
                return note;
            }
        }
        const velk::common::Clock::Duration left = deadline - clock.now();
        if (left <= velk::common::Clock::Duration::zero()) {
            return std::nullopt;
        }
        clock.waitFor(inbox->arrived, lock, left);
    }
}

} // namespace velk::cli
