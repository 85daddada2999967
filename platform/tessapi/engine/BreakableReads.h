#pragma once

#include "platform/tessapi/engine/InterprocessLock.h"

#include <exception>

namespace tessapi {

/// Reads that `LogBound` may break: what was read meanwhile may be of no moment of the store, or a failure
/// that it never had.
/// Threads: any.
class BreakableReads {
public:
    explicit BreakableReads(InterprocessLock& lock) : writers{lock} {}

    /// Gives what `work` finds in a read that was not broken, for which it may be called several times.
    template <class Work>
    auto run(Work work) {
        constexpr int TRIES = 3;
        for (int attempt = 0; attempt < TRIES; ++attempt) {
            auto& breaks = writers.words().breaks;
            const auto before = breaks.load();
            if (isBreaking(before)) {
                break;
            }
            const auto isWhole = [&] { return &breaks == &writers.words().breaks && breaks == before; };
            try {
                auto found = work();
                if (isWhole()) {
                    return found;
                }
            } catch (const std::exception&) {
                if (isWhole()) {
                    throw;
                }
            }
        }
        // Nobody breaks a read while this program holds the lock.
        InterprocessHold hold{writers};
        auto& breaks = writers.words().breaks;
        if (isBreaking(breaks)) {
            ++breaks; // who did was killed
        }
        return work();
    }

private:
    static bool isBreaking(std::uint32_t breaks) { return breaks % 2 != 0; }

    InterprocessLock& writers;
};

} // namespace tessapi
