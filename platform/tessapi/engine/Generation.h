#pragma once

#include <atomic>
#include <cstdint>

namespace tessapi {

/// The number of the state that a store is in, in the page that all programs share: even while nothing
/// changes, odd from just before a commit until just after it. What was read while it was one and the same
/// even number holds as long as the number stays.
///
/// Why that is so: a writer makes it odd, then the database publishes the commit in the index of its log,
/// with a full memory barrier before the header that readers look at, and only then the writer makes it even
/// again. A reader that found the new header has passed a barrier of its own after it, so it sees a number
/// that is odd or greater when it looks again, and keeps nothing. A reader that saw one even number before
/// and after has therefore read a state between two commits; and whoever learns in any way that a call that
/// writes has returned sees the number that this call has left.
///
/// A writer that is killed in between leaves it odd, in which case nothing is kept until the next commit
/// makes it even. Commits take turns under the lock between the processes.
class Generation {
public:
    static bool isSettled(std::uint64_t number) { return number % 2 == 0; }

    /// Holds the number odd for a scope, within the lock. It rises also when the commit fails.
    class Change {
    public:
        explicit Change(std::atomic<std::uint64_t>& shared) :
            word{shared}, before{word.load()}, during{(before + 1) | 1U} {
            word.store(during);
        }
        ~Change() { word.store(after()); }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;

        std::uint64_t after() const { return during + 1; }

    private:
        std::atomic<std::uint64_t>& word;

    public:
        const std::uint64_t before; ///< odd when a writer was killed

    private:
        const std::uint64_t during;
    };
};

} // namespace tessapi
