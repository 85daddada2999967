#include "cli/ChangeQueue.h"

#include <cerrno>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velk::cli {

using velk::common::MutexLock;

ChangeQueue::ChangeQueue() : event{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {
    if (event < 0) {
        throw std::system_error{errno, std::generic_category(), "eventfd"};
    }
}

ChangeQueue::~ChangeQueue() {
    close(event);
}

void ChangeQueue::push(const tessapi::ChannelWrite& write) {
    const MutexLock lock{mutex};
    waiting.push_back(write);
    eventfd_write(event, 1);
}

std::vector<tessapi::ChannelWrite> ChangeQueue::takeAll() {
    const MutexLock lock{mutex};
    eventfd_t ignored = 0;
    eventfd_read(event, &ignored);
    return std::exchange(waiting, {});
}

} // namespace velk::cli
