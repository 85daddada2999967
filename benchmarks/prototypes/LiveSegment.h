#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <ctime>
#include <linux/futex.h>
#include <new>
#include <pthread.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velk::benchmarks {

/// Live values in memory that programs share, as an experiment: a slot a channel that readers read without a
/// lock, a numbered ring of the writes, two triggers a channel that are evaluated under the writers' lock,
/// and a record of what a writer is about to do, which the next one completes when it was killed.
///
/// A value is two words, so that a torn one can be told: the second is the complement of the first.
/// Threads: any, of any process that the segment was handed to by a fork.
class LiveSegment {
public:
    static constexpr std::size_t CHANNELS = 100;
    static constexpr std::size_t RING = 65'536;

    struct Value {
        std::uint64_t word{0};
        std::uint64_t complement{~std::uint64_t{0}};
        bool isWhole() const { return complement == ~word; }
    };

    struct Entry {
        std::uint64_t seq{0};
        std::uint64_t channel{0};
        Value value;
        std::int64_t timeMs{0};
    };

    LiveSegment() {
        void* address =
            mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (address == MAP_FAILED) {
            throw std::runtime_error{"no memory to share"};
        }
        shared = new (address) Shared;
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        pthread_mutex_init(&shared->lock, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    ~LiveSegment() { munmap(shared, sizeof(Shared)); }
    LiveSegment(const LiveSegment&) = delete;
    LiveSegment& operator=(const LiveSegment&) = delete;

    void set(std::size_t channel, std::uint64_t word) {
        lock();
        const std::uint64_t seq = shared->head.load(std::memory_order_relaxed) + 1;
        shared->intent = {seq, channel, {word, ~word}, nowMs()};
        shared->intended.store(true, std::memory_order_release);
        complete();
        pthread_mutex_unlock(&shared->lock);
        shared->news.fetch_add(1);
        if (shared->waiting.exchange(0) != 0) {
            futex(FUTEX_WAKE, 1 << 30);
        }
    }

    Value get(std::size_t channel) const {
        const Slot& slot = shared->slots.at(channel);
        for (;;) {
            const std::uint64_t before = slot.version.load(std::memory_order_acquire);
            const Value value{slot.word.load(std::memory_order_acquire),
                              slot.complement.load(std::memory_order_acquire)};
            // The loads above are not moved behind this one, because each of them acquires.
            if (before % 2 == 0 && slot.version.load(std::memory_order_relaxed) == before) {
                return value;
            }
        }
    }

    /// The write of this number; its number is 0 when the ring does not have it (any more).
    Entry entry(std::uint64_t seq) const {
        const RingSlot& place = shared->ring.at(seq % RING);
        const std::uint64_t before = place.seq.load(std::memory_order_acquire);
        const Entry found{
            before,
            place.channel.load(std::memory_order_acquire),
            {place.word.load(std::memory_order_acquire), place.complement.load(std::memory_order_acquire)},
            place.timeMs.load(std::memory_order_acquire)};
        return before == seq && place.seq.load(std::memory_order_relaxed) == seq ? found : Entry{};
    }

    std::uint64_t head() const { return shared->head.load(std::memory_order_acquire); }

    /// Waits until `head` may be another one than `seen`.
    void await(std::uint64_t seen) {
        const std::uint32_t ticket = shared->news.load();
        if (head() != seen) {
            return;
        }
        shared->waiting.store(1);
        futex(FUTEX_WAIT, ticket);
    }

    bool isActive(std::size_t channel, std::size_t trigger) const {
        return shared->slots.at(channel).active.at(trigger).load();
    }
    static bool shouldBeActive(std::uint64_t word, std::size_t trigger) {
        return trigger == 0 ? word % 16 >= 12 : word % 16 <= 3;
    }

    /// Takes the lock and completes what a killed writer has left; gives whether there was one.
    bool recover() {
        const bool died = lock();
        pthread_mutex_unlock(&shared->lock);
        return died;
    }

private:
    struct alignas(64) Slot {
        std::atomic<std::uint64_t> version{0};
        std::atomic<std::uint64_t> word{0};
        std::atomic<std::uint64_t> complement{~std::uint64_t{0}};
        std::atomic<std::int64_t> writtenMs{0};
        std::array<std::atomic<bool>, 2> active{};
    };
    struct RingSlot {
        std::atomic<std::uint64_t> seq{0};
        std::atomic<std::uint64_t> channel{0};
        std::atomic<std::uint64_t> word{0};
        std::atomic<std::uint64_t> complement{0};
        std::atomic<std::int64_t> timeMs{0};
    };
    struct Shared {
        pthread_mutex_t lock;
        std::atomic<std::uint64_t> head{0};
        std::atomic<bool> intended{false};
        Entry intent; ///< under the lock
        std::atomic<std::uint32_t> news{0};
        std::atomic<std::uint32_t> waiting{0};
        std::array<Slot, CHANNELS> slots;
        std::array<RingSlot, RING> ring;
    };

    static std::int64_t nowMs() {
        timespec now{};
        clock_gettime(CLOCK_REALTIME_COARSE, &now);
        return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
    }

    bool lock() {
        if (pthread_mutex_lock(&shared->lock) != EOWNERDEAD) {
            return false;
        }
        if (shared->intended.load(std::memory_order_acquire)) {
            complete();
        }
        pthread_mutex_consistent(&shared->lock);
        return true;
    }

    /// Does what is intended. Doing it again, from wherever it was left, has the same outcome.
    void complete() {
        const Entry& wanted = shared->intent;
        Slot& slot = shared->slots.at(wanted.channel);
        const std::uint64_t version = slot.version.load(std::memory_order_relaxed) | 1U;
        // Exchanges, because the stores that follow must not be seen before the odd number is.
        slot.version.exchange(version, std::memory_order_acq_rel);
        slot.word.store(wanted.value.word, std::memory_order_release);
        slot.complement.store(wanted.value.complement, std::memory_order_release);
        slot.writtenMs.store(wanted.timeMs, std::memory_order_release);
        for (std::size_t i = 0; i < slot.active.size(); ++i) {
            slot.active.at(i).store(shouldBeActive(wanted.value.word, i), std::memory_order_release);
        }
        slot.version.store(version + 1, std::memory_order_release);

        RingSlot& place = shared->ring.at(wanted.seq % RING);
        place.seq.exchange(0, std::memory_order_acq_rel);
        place.channel.store(wanted.channel, std::memory_order_release);
        place.word.store(wanted.value.word, std::memory_order_release);
        place.complement.store(wanted.value.complement, std::memory_order_release);
        place.timeMs.store(wanted.timeMs, std::memory_order_release);
        place.seq.store(wanted.seq, std::memory_order_release);
        shared->head.store(wanted.seq, std::memory_order_release);
        shared->intended.store(false, std::memory_order_release);
    }

    void futex(int operation, std::uint32_t value) {
        // A failure is an early return, which every caller expects.
        syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&shared->news), operation, value, nullptr,
                nullptr, 0);
    }

    Shared* shared;
};

} // namespace velk::benchmarks
