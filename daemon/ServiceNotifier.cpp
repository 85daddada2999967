#include "daemon/ServiceNotifier.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace velk::daemon {

ServiceNotifier ServiceNotifier::fromEnvironment() {
    const char* socket = std::getenv("NOTIFY_SOCKET"); // NOLINT(concurrency-mt-unsafe): nothing changes it
    return ServiceNotifier{socket == nullptr ? "" : socket};
}

void ServiceNotifier::tell(const std::string& state) const {
    if (address.empty()) {
        return;
    }
    sockaddr_un target{};
    target.sun_family = AF_UNIX;
    if (address.size() >= sizeof target.sun_path) {
        std::cerr << "powerdistributiond: NOTIFY_SOCKET is too long for a socket: " + address + "\n";
        return;
    }
    std::copy(address.begin(), address.end(), std::begin(target.sun_path));
    if (address.front() == '@') {
        target.sun_path[0] = '\0';
    }
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool told = descriptor >= 0 && sendto(descriptor, state.data(), state.size(), MSG_NOSIGNAL,
                                                reinterpret_cast<const sockaddr*>(&target),
                                                length) == static_cast<ssize_t>(state.size());
    if (!told) {
        const std::string why = std::generic_category().message(errno);
        std::cerr << "powerdistributiond: the service manager at " + address + " cannot be told: " + why +
                         "\n";
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
}

} // namespace velk::daemon
