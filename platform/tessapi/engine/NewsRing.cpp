#include "platform/tessapi/engine/NewsRing.h"

#include "platform/tessapi/engine/CoarseClock.h"
#include "platform/tessapi/engine/Generation.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/ValueCodec.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;
using Slot = NewsRing::Slot;

// Every word is stored with release and loaded with acquire, so who has loaded one of a later change sees
// from the stamp, loaded after it, that the slot is no longer that of the earlier one.
constexpr auto RELEASE = std::memory_order_release;
constexpr auto ACQUIRE = std::memory_order_acquire;

/// Shorter than the sleep of a listener, so that each one that was not woken looks.
constexpr std::int64_t LONGEST_TRUST_MS = 200;

/// Of a value that is in the change log only; longer than any that is here.
constexpr std::uint64_t TOO_LONG = 0xff;
constexpr unsigned int KIND_SHIFT = 8;

constexpr std::size_t WORDS = NewsRing::ROOM / sizeof(std::uint64_t);

constexpr std::uint64_t stampOf(std::int64_t seq) {
    return static_cast<std::uint64_t>(seq) * 2;
}

template <class WordsOrConst>
auto& slotOf(WordsOrConst& words, std::int64_t seq) {
    return words.slots[static_cast<std::size_t>(seq) % NewsRing::SLOTS];
}

void put(Slot& slot, const Change& change) {
    const auto bytes = ValueCodec::encode(change.value);
    const bool fits = bytes.size() <= NewsRing::ROOM;
    std::uint64_t value[WORDS]{};
    if (fits && !bytes.empty()) { // without bytes there is no address either
        std::memcpy(value, bytes.data(), bytes.size());
    }
    slot.stamp.store(stampOf(change.seq) + 1, RELEASE);
    slot.object.store(change.object, RELEASE);
    slot.timeMs.store(static_cast<std::uint64_t>(change.timeMs), RELEASE);
    slot.shape.store(static_cast<std::uint64_t>(change.kind) << KIND_SHIFT | (fits ? bytes.size() : TOO_LONG),
                     RELEASE);
    for (std::size_t i = 0; i * sizeof *value < bytes.size() && fits; ++i) {
        slot.value[i].store(value[i], RELEASE);
    }
    slot.stamp.store(stampOf(change.seq), RELEASE);
}

/// Empty unless the whole change with this number is there.
std::optional<Change> take(const Slot& slot, std::int64_t seq) {
    if (slot.stamp.load(ACQUIRE) != stampOf(seq)) {
        return std::nullopt;
    }
    const auto shape = slot.shape.load(ACQUIRE);
    Change change{seq,
                  static_cast<Change::Kind>(shape >> KIND_SHIFT),
                  slot.object.load(ACQUIRE),
                  {},
                  static_cast<std::int64_t>(slot.timeMs.load(ACQUIRE))};
    std::uint64_t value[WORDS];
    for (std::size_t i = 0; i < WORDS; ++i) {
        value[i] = slot.value[i].load(ACQUIRE);
    }
    const auto size = shape % (1U << KIND_SHIFT);
    if (slot.stamp.load(ACQUIRE) != stampOf(seq) || size > NewsRing::ROOM) {
        return std::nullopt;
    }
    const auto* begin = reinterpret_cast<const std::uint8_t*>(value);
    auto decoded = ValueCodec::decode({begin, begin + size});
    if (!decoded) {
        return std::nullopt;
    }
    change.value = std::move(*decoded);
    return change;
}

} // namespace

std::span<const Change> NewsRing::Found::newestCommit() const {
    const auto first = std::find_if(changes.begin(), changes.end(),
                                    [this](const Change& change) { return change.seq >= firstOfCommit; });
    return {first, changes.end()};
}

bool NewsRing::isOwn(const Words& words) const {
    return own.inode != 0 && words.inode.load(ACQUIRE) == own.inode &&
           words.device.load(ACQUIRE) == own.device;
}

void NewsRing::clear(Words& words, std::int64_t newest) const {
    words.inode.store(0, RELEASE);
    for (auto& slot : words.slots) {
        slot.stamp.store(0, RELEASE);
    }
    words.newest.store(newest, RELEASE);
    words.first.store(newest + 1, RELEASE);
    words.generation.store(0, RELEASE);
    words.device.store(own.device, RELEASE);
    words.inode.store(own.inode, RELEASE);
}

void NewsRing::begin(std::int64_t newest) {
    auto* const words = shared.news();
    if (words != nullptr && (!isOwn(*words) || words->newest.load(ACQUIRE) != newest)) {
        clear(*words, newest);
    }
}

void NewsRing::publish(std::span<const Change> changes, std::uint64_t generation) {
    auto* const words = shared.news();
    if (changes.empty() || words == nullptr) {
        return;
    }
    begin(changes.front().seq - 1);
    for (const auto& change : changes.last(std::min(changes.size(), SLOTS))) {
        put(slotOf(*words, change.seq), change);
    }
    words->first.store(changes.front().seq, RELEASE);
    words->newest.store(changes.back().seq, RELEASE);
    words->generation.store(generation, RELEASE); // last: who finds it finds the newest change of it
}

void NewsRing::pass(std::uint64_t before, std::uint64_t after) {
    auto* const words = shared.news();
    // Otherwise there is something that a killed writer has not told.
    if (words != nullptr && isOwn(*words) && words->generation.load(ACQUIRE) == before) {
        words->first.store(words->newest.load(ACQUIRE) + 1, RELEASE);
        words->generation.store(after, RELEASE);
    }
}

std::optional<std::int64_t> NewsRing::newestIn(std::uint64_t generation) const {
    const auto* const words = shared.news();
    if (words == nullptr || !Generation::isSettled(generation) || !isOwn(*words) ||
        words->generation.load(ACQUIRE) != generation) {
        return std::nullopt;
    }
    const auto newest = words->newest.load(ACQUIRE);
    // That of a later commit is there only after the generation has risen.
    const bool isPresent = shared.words().generation.load() == generation && isOwn(*words);
    return isPresent ? std::optional{newest} : std::nullopt;
}

std::optional<NewsRing::Found> NewsRing::after(std::int64_t seq, std::size_t limit) const {
    const auto* const page = shared.news();
    if (page == nullptr || !isOwn(*page)) {
        return std::nullopt;
    }
    const auto& words = *page;
    const auto newest = words.newest.load(ACQUIRE);
    if (newest - seq > reach) {
        return std::nullopt;
    }
    Found found;
    found.generation = words.generation.load(ACQUIRE);
    found.firstOfCommit = words.first.load(ACQUIRE);
    const auto last = std::min(newest, seq + static_cast<std::int64_t>(limit));
    for (auto number = seq + 1; number <= last; ++number) {
        auto change = take(slotOf(words, number), number);
        if (!change) {
            return std::nullopt;
        }
        found.changes.push_back(std::move(*change));
    }
    found.upTo = std::max(last, seq);
    found.more = last < newest;
    return isOwn(words) ? std::optional{std::move(found)} : std::nullopt;
}

void NewsRing::noteLook(std::int64_t newest) {
    MutexLock lock{mutex};
    lookedMs = coarseNowMs();
    lookedTo = newest;
}

bool NewsRing::isLookDue(std::int64_t seq) {
    MutexLock lock{mutex};
    return lookedTo > seq || coarseNowMs() - lookedMs >= LONGEST_TRUST_MS;
}

} // namespace tessapi
