#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/Change.h"
#include "platform/tessapi/engine/FileSeat.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tessapi {

class SharedPage;

/// The newest changes of a store in the page that its programs share, so that a listener need not ask the
/// database for what a writer has just done. The database stays the truth: what is not here, whole and in
/// order, is looked up in its change log.
///
/// A writer puts its changes here after its commit and still under the lock between the processes. One that
/// is killed in between leaves a hole in the numbers, which the next one closes by beginning anew; a listener
/// finds the hole by the numbers, or finds no news and looks into the database from time to time anyway
/// (`isLookDue`). What was put here for one file of a database is never taken for another's. In a page that
/// another release has made nothing is put and nothing found (`SharedPage::news`): then the change log alone
/// tells what is new, which the listeners of that release find as they find the change of a killed writer.
/// Threads: any, of any process; `publish`, `pass` and `begin` under the lock between the processes.
class NewsRing {
public:
    static constexpr std::size_t SLOTS = 1024;
    /// Bytes of an encoded value that fit; a longer one is left to the change log.
    static constexpr std::size_t ROOM = 32;

    /// One change. `stamp` is twice its number, and odd while it is written.
    struct Slot {
        std::atomic<std::uint64_t> stamp;
        std::atomic<std::uint64_t> object;
        std::atomic<std::uint64_t> timeMs;
        std::atomic<std::uint64_t> shape; ///< kind and length of the value
        std::atomic<std::uint64_t> value[ROOM / sizeof(std::uint64_t)];
    };

    /// What is in the shared page; all zero at first.
    struct Words {
        std::atomic<std::uint64_t> device;     ///< of the file that the changes are of
        std::atomic<std::uint64_t> inode;      ///< likewise; 0 when they are nobody's
        std::atomic<std::int64_t> newest;      ///< the number of the newest change
        std::atomic<std::int64_t> first;       ///< that of the first one of the same commit
        std::atomic<std::uint64_t> generation; ///< that this commit has led to, see `Generation`
        Slot slots[SLOTS];
    };

    struct Found {
        std::vector<Change> changes; ///< without a gap
        std::int64_t upTo{0};        ///< the number of the last one, or that which they were asked after
        bool more{false};
        std::uint64_t generation{0}; ///< that the newest commit has led to
        std::int64_t firstOfCommit{0};

        /// Those of the newest commit, unless there are more.
        std::span<const Change> newestCommit() const;
    };

    /// `page` outlives the object. The change log keeps at least `kept` entries; who lags behind by more is
    /// told so by the log.
    NewsRing(SharedPage& page, std::int64_t kept) : shared{page}, reach{kept} {}

    /// Before anything else; the identity of the database's file.
    void belongTo(const FileSeat::Identity& file) { own = file; }

    /// Makes sure that nothing is here of another file, or of this one as it was before somebody has replaced
    /// its content; `newest` is the number of its newest change.
    void begin(std::int64_t newest);

    /// After the commit of `changes`, the newest ones of the change log, which has led to `generation`.
    void publish(std::span<const Change> changes, std::uint64_t generation);

    /// After a commit that is no news, which has led from one generation to the other.
    void pass(std::uint64_t before, std::uint64_t after);

    /// The number of the newest change of the store in this generation. Empty when only the change log can
    /// tell.
    std::optional<std::int64_t> newestIn(std::uint64_t generation) const;

    /// The changes after the one numbered `seq`, at most `limit`; none when there are no newer ones here.
    /// Empty when only the change log can tell.
    std::optional<Found> after(std::int64_t seq, std::size_t limit) const;

    /// The change log was read to its end, where it has the number `newest`.
    void noteLook(std::int64_t newest) VELK_EXCLUDES(mutex);
    /// Whether the last look that would have found changes after `seq` is too long ago.
    bool isLookDue(std::int64_t seq) VELK_EXCLUDES(mutex);

private:
    bool isOwn(const Words& words) const;
    void clear(Words& words, std::int64_t newest) const;

    SharedPage& shared;
    const std::int64_t reach;
    FileSeat::Identity own; // set once, before there are other threads
    velk::common::Mutex mutex;
    std::int64_t lookedMs VELK_GUARDED_BY(mutex){0};
    std::int64_t lookedTo VELK_GUARDED_BY(mutex){0};
};

} // namespace tessapi
