#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/LossBoard.h"
#include "platform/tessapi/network/OutageNote.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace tessapi {

/// What a process says of its stores on the network: on the standard error one line when the server of a
/// store goes and one when it is back, however many of its parts have the store open; and for as long as that
/// lasts in a file (`OutageNote`) what waits. Stores are told apart by their URLs, in which there are no
/// secrets. Threads: any.
class OutageBoard {
public:
    /// A part of the process that has a store open, told apart by any address of its own.
    using Part = const void*;

    /// What one part keeps.
    struct Kept {
        std::size_t values{0};
        std::size_t channels{0}; ///< of so many
        std::size_t most{0};     ///< of the values of which each counts
    };

    /// Between two writes of the file.
    static constexpr velk::common::Clock::Duration NOTE_PAUSE = std::chrono::seconds{1};

    /// The one of this process; it lives as long as that.
    static OutageBoard& ofProcess();

    /// Files go to `noteFolder`; there are none when that is empty. The others must outlive this object.
    explicit OutageBoard(std::string noteFolder, LossBoard& losses = LossBoard::ofProcess(),
                         velk::common::Clock& clock = velk::common::Clock::system());

    /// The part misses the server; from now on until its `end`, `leave` or `lose`. `why` is the cause.
    void begin(const std::string& store, Part part, const std::string& why) VELK_EXCLUDES(mutex);
    /// What the part keeps now; to be said again and again, by a thread that may wait for a file.
    void keep(const std::string& store, Part part, const Kept& kept) VELK_EXCLUDES(mutex);
    /// The part had too many writes to keep them all; said once in an outage, and how many at its end.
    void giveUp(const std::string& store, std::size_t writes) VELK_EXCLUDES(mutex);
    /// The part has the server again, and has written what it kept.
    void end(const std::string& store, Part part, std::size_t written) VELK_EXCLUDES(mutex);
    /// The part ends, with so many writes that it kept.
    void leave(const std::string& store, Part part, std::size_t lost) VELK_EXCLUDES(mutex);
    /// The server has lost the store; the part may have missed it before or not.
    void lose(const std::string& store, Part part, std::size_t kept) VELK_EXCLUDES(mutex);

private:
    struct Outage {
        std::map<Part, Kept> parts; ///< that miss the server
        std::int64_t sinceMs{0};
        std::size_t written{0};
        std::size_t givenUp{0};
        std::size_t lost{0};
        std::unique_ptr<OutageNote> note;
        velk::common::Clock::Duration notedAt{};
    };

    void note(const std::string& store, Outage& outage) VELK_REQUIRES(mutex);
    void finish(const std::string& store, Part part, Outage& outage) VELK_REQUIRES(mutex);

    const std::string folder;
    LossBoard& losses;
    velk::common::Clock& clock;
    velk::common::Mutex mutex;
    std::map<std::string, Outage> outages VELK_GUARDED_BY(mutex);
};

} // namespace tessapi
