#include "platform/tessapi/network/Courier.h"

#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"

#include <boost/system/system_error.hpp>

#include <iostream>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;

/// Between two knocks at a server that is away.
constexpr std::chrono::milliseconds KNOCK_PAUSE{500};

} // namespace

Courier::Courier(RedisLink& server, ValueSender& values, ChannelMemory& known) :
    link{server}, sender{values}, channels{known}, clock{velk::common::Clock::system()} {}

Courier::~Courier() {
    std::thread ending;
    {
        MutexLock lock{mutex};
        stopping = true;
        ending = std::move(thread);
    }
    condition.notify_all();
    if (!ending.joinable()) {
        return;
    }
    ending.join();
    MutexLock lock{mutex};
    if (!outbox.isEmpty()) {
        say("this program ends, and " + std::to_string(outbox.size()) + " values that it kept are lost");
    }
}

void Courier::startThread() {
    expecting = true;
    if (!thread.joinable() && !stopping) {
        thread = std::thread{[this] { run(); }};
    }
    condition.notify_all();
}

void Courier::expectReturn() {
    MutexLock lock{mutex};
    startThread();
}

bool Courier::takeIfBusy(const std::vector<Change>& changes) {
    MutexLock lock{mutex};
    if (outbox.isEmpty()) {
        return false;
    }
    add(changes);
    return true;
}

void Courier::add(const std::vector<Change>& changes) {
    for (const auto& change : changes) {
        outbox.add(change, channels.isInOrder(change.object));
    }
    if (const auto lost = outbox.takeLost(); lost != 0) {
        say("too many writes are kept; the oldest " + std::to_string(lost) + " of them are lost");
    }
}

void Courier::keep(Outbox::Batch batch, const std::string& why) {
    MutexLock lock{mutex};
    if (outbox.isEmpty()) {
        outbox.addUncertain(std::move(batch));
    } else {
        add(batch.changes);
    }
    busy = true;
    if (!announced) {
        say("cannot be reached: " + why + "; values are kept until it is back");
        announced = true;
    }
    startThread();
}

void Courier::run() {
    MutexLock lock{mutex};
    while (!stopping) {
        if (!expecting) {
            clock.waitFor(condition, lock, std::chrono::hours{1});
            continue;
        }
        lock.unlock();
        const bool done = deliver();
        lock.lock();
        if (done) {
            expecting = !link.isGone() && (link.isAway() || !outbox.isEmpty());
        } else if (!stopping) {
            clock.waitFor(condition, lock, KNOCK_PAUSE);
        }
    }
    lock.unlock();
    deliver();
}

bool Courier::deliver() {
    try {
        if (!link.tryToReturn()) {
            return false;
        }
        for (;;) {
            const auto progress = deliverBatch();
            if (progress != Progress::more) {
                return progress == Progress::done;
            }
        }
    } catch (const boost::system::system_error&) {
        if (link.isGone()) {
            giveUp();
        }
        return link.isGone();
    }
}

Courier::Progress Courier::deliverBatch() {
    Outbox::Batch batch;
    {
        MutexLock lock{mutex};
        if (outbox.isEmpty()) {
            announceReturn();
            return Progress::done;
        }
        auto& next = outbox.next(sender.nextMark(), link.seen());
        batch = next;
        next.sentBefore = true;
    }
    ValueSender::Verdict verdict;
    try {
        verdict = sender.send(batch);
    } catch (const LinkError&) {
        return Progress::stuck;
    } catch (const ServerRefusal&) {
        return Progress::stuck;
    }
    MutexLock lock{mutex};
    if (verdict.kind == ValueSender::Verdict::Kind::taken) {
        delivered += batch.changes.size();
        outbox.drop();
        return Progress::more;
    }
    say("channel " + std::to_string(verdict.channel) +
        " is not in the store any more, or has another type; what was kept for it is lost");
    outbox.dropChannel(verdict.channel);
    return Progress::more;
}

void Courier::announceReturn() {
    if (announced) {
        say("is back; " + std::to_string(delivered) + " values kept meanwhile were written");
    }
    busy = false;
    announced = false;
    delivered = 0;
}

void Courier::giveUp() {
    MutexLock lock{mutex};
    const std::string kept =
        outbox.isEmpty() ? "" : "; " + std::to_string(outbox.size()) + " values kept are lost";
    say("the server has lost the store or has another one of its name" + kept + "; it has to be opened anew");
    outbox.clear();
    busy = false;
    announced = false;
}

void Courier::say(const std::string& text) const {
    // One write for the whole line, which other threads may not split.
    std::cerr << "WARNING - store " + link.store() + ": " + text + "\n" << std::flush;
}

} // namespace tessapi
