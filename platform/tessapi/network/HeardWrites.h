#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/network/WriteMark.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace tessapi {

/// What a listener has heard of each writer, so that it does not hear a write again that comes to a second
/// server: the first one failed over and had not copied it yet.
///
/// In the log of one server the numbers of a writer rise. One that does not comes from another server, to
/// which its writer has sent it anew. Threads: any.
class HeardWrites {
public:
    /// Writers that are remembered; those that wrote last.
    static constexpr std::size_t MOST = 1024;

    /// Whether the entry `seq` of the log, which the listener is given now, is a write that it was given
    /// before under another number. Asked again it says the same.
    bool isRepeat(const WriteMark& mark, std::int64_t seq) VELK_EXCLUDES(mutex);

    /// What had been written when a listener began or went on at `seq`: the last call of each writer.
    void begin(std::vector<WriteMark> written, std::int64_t seq) VELK_EXCLUDES(mutex);
    /// The listener has been given everything up to `seq`: what had been written by then is no news to it.
    void pass(std::int64_t seq) VELK_EXCLUDES(mutex);

    /// Writers that are remembered.
    std::size_t size() const VELK_EXCLUDES(mutex);

private:
    struct Heard {
        std::uint64_t number{0}; ///< the greatest that was heard
        std::int64_t seq{0};     ///< in this entry
        /// Calls up to `repeated` come again from the entry `repeatedFrom` on; 0 for none.
        std::uint64_t repeated{0};
        std::int64_t repeatedFrom{0};
    };

    void forgetOldest() VELK_REQUIRES(mutex);

    mutable velk::common::Mutex mutex;
    std::map<std::uint64_t, Heard> writers VELK_GUARDED_BY(mutex);
    std::vector<WriteMark> before VELK_GUARDED_BY(mutex); ///< not passed yet
    std::int64_t beforeSeq VELK_GUARDED_BY(mutex){0};
};

} // namespace tessapi
