#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/StoreBrowser.h"

#include <vector>

namespace velk::cli {

/// Carries the store's news from its client thread to the thread that prints them, with a file descriptor to
/// poll on.
/// Threads: `push` from any thread, the rest from one.
class ChangeQueue {
public:
    /// Throws std::system_error when the machine has no descriptor left.
    ChangeQueue();
    ~ChangeQueue();
    ChangeQueue(const ChangeQueue&) = delete;
    ChangeQueue& operator=(const ChangeQueue&) = delete;

    void push(const tessapi::ChannelWrite& write);

    /// Takes what is there, in order; never waits.
    std::vector<tessapi::ChannelWrite> takeAll();

    /// Readable while something may be there.
    int descriptor() const { return event; }

private:
    velk::common::Mutex mutex;
    std::vector<tessapi::ChannelWrite> waiting VELK_GUARDED_BY(mutex);
    int event;
};

} // namespace velk::cli
