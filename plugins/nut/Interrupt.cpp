#include "plugins/nut/Interrupt.h"

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace velk::nut {

Interrupt::Interrupt() : event{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {
    if (event == -1) {
        throw std::system_error{errno, std::generic_category(), "nut: eventfd"};
    }
}

Interrupt::~Interrupt() {
    close(event);
}

void Interrupt::raise() {
    // A full counter is as raised as one that was just written.
    [[maybe_unused]] const int result = eventfd_write(event, 1);
}

void Interrupt::clear() {
    std::uint64_t ignored{0};
    [[maybe_unused]] const int result = eventfd_read(event, &ignored);
}

bool Interrupt::isRaised() const {
    pollfd entry{event, POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

} // namespace velk::nut
