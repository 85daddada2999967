#pragma once

#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/FileLock.h"
#include "platform/tessapi/engine/IKeeping.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/LogBound.h"
#include "platform/tessapi/engine/Statement.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tessapi {

/// Of a store that programs work on in memory: copies what has changed to the disk. Every program that has
/// the store open does so in its turn, whoever made the change, so that nothing waits for one that was killed
/// or that sleeps.
class CopyKeeping final : public IKeeping {
public:
    struct Place {
        std::string kept;    ///< file on disk
        std::string working; ///< file in memory
        std::chrono::seconds valuesEvery;
        int framesToCopy;                      ///< of the log of the file in memory
        std::chrono::milliseconds longestWait; ///< at the end, for a program that copies
    };

    /// `lock` and `programs` outlive the object. `programs` is the lock that every program shares that has
    /// the store open.
    CopyKeeping(Place where, const std::string& store, InterprocessLock& lock, FileLock& programs,
                velk::common::Clock& time);

    velk::common::Clock::Duration keep(const Round& round) override;
    std::string leftBehind() const override;

private:
    using Duration = velk::common::Clock::Duration;

    struct Pending {
        bool changes{false};     ///< what is to be copied at once
        bool values{false};      ///< what is to be copied when its time has come
        Duration valuesCopied{}; ///< when that was done last
        std::int64_t copies{0};  ///< by all programs
    };

    /// Another program has the lock for copying.
    struct Refusal {
        Duration since;
        std::int64_t copies; ///< made by then
        bool told{false};    ///< that it lasts too long
    };

    bool isGone();
    /// Whether no other program has the store open; whether it is shared after that is not said.
    bool isAlone();
    /// Whether the copy is a file and a log.
    bool hasLog() const;
    Pending pending();
    Duration untilValuesAreDue(Duration copied) const;
    /// Whether this program copies now. Throws when another one holds the lock for too long and copies
    /// nothing, or when that is so at the end.
    bool takeTurn(bool last, std::int64_t copies);
    [[noreturn]] void complain();
    /// Copying goes on, here or elsewhere.
    void endRefusal();
    /// `end` when nobody has the store open after this.
    void copy(bool values, bool end);
    /// For those who look at the store: why the disk is behind. Nothing when another copy was made than
    /// these.
    void noteFailure(const std::string& text, std::int64_t copies = ANY);

    static constexpr std::int64_t ANY = -1;

    const Place place;
    const std::string store;
    InterprocessLock& writers;
    FileLock& use;
    velk::common::Clock& clock;
    FileLock keeper;
    Database database; // of the working file
    LogBound log;
    Statement whatIsPending;
    std::optional<Refusal> refusal;
};

} // namespace tessapi
