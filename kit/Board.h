#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velk::kit {

/// What the child is doing at this moment, in memory that it shares with its parent: when the child dies or
/// hangs in a call of the plug-in, the parent still knows in which.
///
/// Threads: each slot has one thread of the child that writes it; the parent reads `moves`, `busy` and
/// `patienceMs` at any time, and the texts only of a child that is stopped or dead.
struct Board {
    static constexpr std::size_t SLOTS = 65;
    static constexpr std::int32_t NO_SLOT = -1;

    struct Slot {
        std::atomic<std::uint64_t> moves{0}; ///< goes up with every call that begins or ends
        std::atomic<bool> busy{false};
        std::atomic<std::uint32_t> patienceMs{0}; ///< of this call; 0: as usual
        std::array<char, 32> operation{};
        std::array<char, 200> path{};
    };

    std::array<Slot, SLOTS> slots; ///< 0: the child's first thread
    std::atomic<std::int32_t> crashed{NO_SLOT};
    std::atomic<std::uint64_t> wrappers{0}; ///< calls of `buildWrapper`
    std::atomic<bool> isDeviceAway{false};  ///< the pause command has begun and the resume command not ended
    std::array<char, 300>
        changed{}; ///< what the child has to put back, for people; written by its first thread

    void noteChange(std::string_view text); ///< empty: all is put back

    /// In memory that is shared with children; lives as long as the process.
    static Board& make();
};

/// Which slot the calling thread writes; 0 unless told otherwise.
std::int32_t& slotOfThisThread();

/// Notes the thread's slot on the board when a signal of a crash comes, and lets it go on its way.
void noteCrashesOn(Board& board);

/// Stands on the board from construction to destruction.
class Doing {
public:
    Doing(Board& board, std::string_view operation, std::string_view path, std::uint32_t patienceMs = 0);
    ~Doing();
    Doing(const Doing&) = delete;
    Doing& operator=(const Doing&) = delete;

private:
    Board::Slot& slot;
};

} // namespace velk::kit
