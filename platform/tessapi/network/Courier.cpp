#include "platform/tessapi/network/Courier.h"

#include "platform/common/WallTime.h"
#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/OutageBoard.h"
#include "platform/tessapi/network/ServerRefusal.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;
using Kind = ValueSender::Verdict::Kind;

/// Between two knocks at a server that is away.
constexpr std::chrono::milliseconds KNOCK_PAUSE{500};
/// For a listener, before it is told that it hears nothing.
constexpr std::chrono::seconds LONGEST_SILENCE{1};
/// For what is kept when a program ends, and does not wait for a slow server any longer.
constexpr std::chrono::seconds LAST_TRY{5};

std::vector<Change> changesOf(const Courier::Values& values, std::int64_t timeMs) {
    std::vector<Change> changes;
    changes.reserve(values.size());
    for (const auto& [channel, value] : values) {
        changes.push_back({0, Change::Kind::value, channel, value, timeMs});
    }
    return changes;
}

/// Whether the server may take later what it has not taken now.
bool isOutage(const std::runtime_error& failure) {
    const auto* refusal = dynamic_cast<const ServerRefusal*>(&failure);
    return refusal != nullptr ? refusal->mayPass() : dynamic_cast<const LinkError*>(&failure) != nullptr;
}

} // namespace

Courier::Courier(RedisLink& server, ValueSender& values, ChannelMemory& known,
                 velk::common::Clock& pauseClock) :
    link{server}, sender{values}, channels{known}, clock{pauseClock}, sent{[this](std::uint64_t channel) {
        return channels.isInOrder(channel);
    }} {
    link.onGreeting([this](std::uint64_t done) { sendAgainAfter(done); });
}

Courier::~Courier() {
    std::thread ending;
    {
        MutexLock lock{mutex};
        stopping = true;
        ending = std::move(thread);
    }
    condition.notify_all();
    if (ending.joinable()) {
        ending.join();
    }
    MutexLock lock{mutex};
    if (announced) {
        OutageBoard::ofProcess().leave(link.store(), this, outbox.size());
    }
}

void Courier::startThread() {
    if (!expecting) {
        expecting = true;
        expectingSince = clock.now();
    }
    if (!thread.joinable() && !stopping) {
        thread = std::thread{[this] { run(); }};
    }
    condition.notify_all();
}

void Courier::expectReturn() {
    MutexLock lock{mutex};
    startThread();
}

void Courier::missServer(const std::string& why) {
    MutexLock lock{mutex};
    const auto now = clock.now();
    missingSince = missingSince.value_or(now);
    if (now - *missingSince >= LONGEST_SILENCE) {
        announce(why);
    }
    startThread();
}

void Courier::announce(const std::string& why) {
    if (!announced) {
        OutageBoard::ofProcess().begin(link.store(), this, why);
        announced = true;
    }
}

Engine::Waiting Courier::waiting() {
    MutexLock lock{mutex};
    return outbox.isEmpty() ? Engine::Waiting{} : Engine::Waiting{outbox.size(), busySinceMs};
}

bool Courier::addIfBusy(const Values& values, const std::vector<Change>& changes) {
    if (!busy) {
        return false;
    }
    const bool isKnown = channels.knows(values);
    MutexLock lock{mutex};
    if (outbox.isEmpty()) {
        return false;
    }
    if (!isKnown) {
        throw LinkError{"other values have to be written first"};
    }
    for (const auto& change : changes) {
        outbox.add(change, channels.isInOrder(change.object));
    }
    if (const auto lost = outbox.takeLost(); lost != 0) {
        OutageBoard::ofProcess().giveUp(link.store(), lost);
    }
    return true;
}

void Courier::keep(Outbox::Batch batch) {
    outbox.addSent(std::move(batch));
    if (!busy.exchange(true)) {
        busySinceMs = velk::common::wallMs();
    }
    startThread();
}

ValueSender::Verdict Courier::send(const Values& values) {
    auto changes = changesOf(values, velk::common::wallMs());
    if (addIfBusy(values, changes)) {
        return {};
    }
    MutexLock order{sending};
    if (addIfBusy(values, changes)) { // another one had to wait, and in vain
        return {};
    }
    Outbox::Batch batch{++lastNumber, false, std::move(changes)};
    for (;;) {
        const auto generation = link.generation();
        ValueSender::Verdict verdict;
        try {
            verdict = sender.send(batch);
        } catch (const std::runtime_error& failure) {
            if (!isOutage(failure) || !channels.knows(values)) {
                throw;
            }
            MutexLock lock{mutex};
            announce(failure.what());
            keep(std::move(batch));
            return {};
        }
        MutexLock lock{mutex};
        if (verdict.kind == Kind::behind) {
            moveSentAfter(verdict.done);
            if (outbox.isEmpty()) {
                batch.afterGap = true; // what is missing was refused, or nobody has it any more
                continue;
            }
            keep(std::move(batch));
            return {};
        }
        if (verdict.kind == Kind::taken) {
            remember(std::move(batch), generation);
        }
        return verdict;
    }
}

void Courier::remember(Outbox::Batch batch, std::uint64_t generation) {
    // Another server that was greeted since may lack it: whoever has it already does nothing.
    if (link.generation() != generation && batch.number > doneAtGreeting) {
        keep(std::move(batch));
    } else {
        sent.add(std::move(batch), clock.now());
    }
}

void Courier::sendAgainAfter(std::uint64_t done) {
    MutexLock lock{mutex};
    doneAtGreeting = done;
    moveSentAfter(done);
}

void Courier::moveSentAfter(std::uint64_t done) {
    // What was young when the trouble began does not age by how long it lasts.
    for (auto& batch : sent.takeAfter(done, expecting ? expectingSince : clock.now())) {
        batch.afterGap = false;
        keep(std::move(batch));
    }
}

void Courier::run() {
    MutexLock lock{mutex};
    while (!stopping) {
        if (!expecting) {
            clock.waitFor(condition, lock, std::chrono::hours{1});
            continue;
        }
        lock.unlock();
        tellWhatWaits();
        const bool done = deliver();
        lock.lock();
        if (done) {
            expecting = !link.isGone() && (link.isAway() || !outbox.isEmpty());
        } else if (!stopping) {
            clock.waitFor(condition, lock, KNOCK_PAUSE);
        }
    }
    lastTry = clock.now() + LAST_TRY;
    lock.unlock();
    deliver();
}

void Courier::tellWhatWaits() {
    OutageBoard::Kept kept;
    {
        MutexLock lock{mutex};
        if (!announced) {
            return;
        }
        kept = {outbox.size(), outbox.channels(), Outbox::MOST};
    }
    OutageBoard::ofProcess().keep(link.store(), this, kept);
}

bool Courier::deliver() {
    try {
        if (!link.tryToReturn()) {
            announceIfKept(link.whyAway());
            return false;
        }
        while (!isTooLate()) {
            const auto progress = deliverBatch();
            if (progress != Progress::more) {
                return progress == Progress::done;
            }
        }
        return false;
    } catch (const std::exception& failure) { // whatever it is, the thread goes on
        if (link.isGone()) {
            giveUp();
        } else {
            announceIfKept(failure.what());
        }
        return link.isGone();
    }
}

bool Courier::isTooLate() {
    MutexLock lock{mutex};
    return stopping && clock.now() >= lastTry;
}

void Courier::announceIfKept(const std::string& why) {
    MutexLock lock{mutex};
    if (!outbox.isEmpty()) {
        announce(why);
    }
}

Courier::Progress Courier::deliverBatch() {
    MutexLock order{sending};
    Outbox::Batch batch;
    {
        MutexLock lock{mutex};
        if (outbox.isEmpty()) {
            announceReturn();
            return Progress::done;
        }
        batch = outbox.next(lastNumber + 1);
        lastNumber = std::max(lastNumber, batch.number);
    }
    const auto generation = link.generation();
    try {
        take(sender.send(batch), batch, generation);
        return Progress::more;
    } catch (const LinkError& failure) {
        announceIfKept(failure.what());
        return Progress::stuck;
    } catch (const ServerRefusal& refusal) {
        announceIfKept(refusal.what());
        return Progress::stuck;
    }
}

void Courier::take(const ValueSender::Verdict& verdict, Outbox::Batch batch, std::uint64_t generation) {
    MutexLock lock{mutex};
    if (verdict.kind == Kind::taken) {
        delivered += batch.changes.size();
        outbox.drop(batch.number);
        remember(std::move(batch), generation);
    } else if (verdict.kind == Kind::behind) {
        moveSentAfter(verdict.done);
        outbox.next(batch.number).afterGap = true; // nobody has what is before it
    } else {
        // One write for the whole line, which other threads may not split.
        std::cerr << "WARNING - store " + link.store() + ": channel " + std::to_string(verdict.channel) +
                         " is not in the store any more, or has another type; what was kept for it is lost\n"
                  << std::flush;
        outbox.dropChannel(verdict.channel);
    }
}

void Courier::announceReturn() {
    if (announced) {
        OutageBoard::ofProcess().end(link.store(), this, delivered);
    }
    busy = false;
    announced = false;
    missingSince.reset();
    delivered = 0;
}

void Courier::giveUp() {
    MutexLock lock{mutex};
    OutageBoard::ofProcess().lose(link.store(), this, outbox.size());
    outbox.clear();
    busy = false;
    announced = false;
    missingSince.reset();
    delivered = 0;
}

} // namespace tessapi
