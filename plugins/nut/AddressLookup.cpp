#include "plugins/nut/AddressLookup.h"

#include "plugins/nut/LinkError.h"

#include <algorithm>
#include <netdb.h>
#include <sys/socket.h>

namespace velk::nut {

/// All that the resolver's thread refers to while it works.
struct AddressLookup::Request {
    Request(const std::string& hostName, std::uint16_t portNumber) :
        host{hostName}, port{std::to_string(portNumber)} {
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        hints.ai_flags = AI_NUMERICSERV;
        lookup.ar_name = host.c_str();
        lookup.ar_service = port.c_str();
        lookup.ar_request = &hints;
    }
    ~Request() {
        if (lookup.ar_result != nullptr) {
            freeaddrinfo(lookup.ar_result);
        }
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    std::string host;
    std::string port;
    addrinfo hints{};
    gaicb lookup{};
};

namespace {

timespec toTimespec(velk::common::Clock::Duration timeout) {
    const auto left = std::max(timeout, velk::common::Clock::Duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    return {static_cast<std::time_t>(seconds.count()), static_cast<long>((left - seconds).count())};
}

/// Whether the host is an address already, which takes no resolver; then it is in `lookup`.
bool isAddress(gaicb& lookup, const addrinfo& hints) {
    addrinfo numeric = hints;
    numeric.ai_flags |= AI_NUMERICHOST;
    return getaddrinfo(lookup.ar_name, lookup.ar_service, &numeric, &lookup.ar_result) == 0;
}

} // namespace

AddressLookup::AddressLookup(const std::string& hostName, std::uint16_t portNumber,
                             velk::common::Clock::Duration timeout) :
    request{std::make_unique<Request>(hostName, portNumber)} {
    if (isAddress(request->lookup, request->hints)) {
        return;
    }
    gaicb* lookups[] = {&request->lookup};
    int result = getaddrinfo_a(GAI_NOWAIT, lookups, 1, nullptr);
    if (result == 0) {
        const timespec limit = toTimespec(timeout);
        gai_suspend(lookups, 1, &limit);
        result = gai_error(&request->lookup);
    }
    if (result == EAI_INPROGRESS && gai_cancel(&request->lookup) == EAI_NOTCANCELED) {
        // The resolver's thread goes on writing into the request, so it is left to it.
        [[maybe_unused]] const Request* abandoned = request.release();
    }
    if (result != 0) {
        throw LinkError{"the address of " + hostName + " was not found: " +
                        (result == EAI_INPROGRESS ? std::string{"no answer in time"} : gai_strerror(result))};
    }
}

AddressLookup::~AddressLookup() = default;

const addrinfo* AddressLookup::first() const {
    return request->lookup.ar_result;
}

} // namespace velk::nut
