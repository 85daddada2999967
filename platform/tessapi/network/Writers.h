#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace tessapi {

/// As whom one program writes to a site: as one writer of values and as one of everything else. Each numbers
/// its calls, by which the server knows one that comes twice, or too late. Threads: any.
class Writers {
public:
    /// Both are random.
    Writers();

    const std::string values; ///< 8 bytes
    const std::string others; ///< 8 bytes

    /// The number of a call of `others` that is about to be sent for the first time. Its calls are sent one
    /// after the other, so that the ones before it have ended.
    std::uint64_t nextOther();
    /// The call is not sent again.
    void giveUp(std::uint64_t number);
    /// The last call of `others` of which nobody waits for an answer any more.
    std::uint64_t givenUp() const { return ended; }

private:
    std::atomic<std::uint64_t> last{0};
    std::atomic<std::uint64_t> ended{0};
};

} // namespace tessapi
