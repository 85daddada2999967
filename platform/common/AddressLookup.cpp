#include "platform/common/AddressLookup.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <netdb.h>
#include <sys/socket.h>

namespace velk::common {

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

    /// Whether the host is an address already; then it is in `lookup`.
    bool isAddress() {
        addrinfo numeric = hints;
        numeric.ai_flags |= AI_NUMERICHOST;
        return getaddrinfo(host.c_str(), port.c_str(), &numeric, &lookup.ar_result) == 0;
    }

    std::string host;
    std::string port;
    addrinfo hints{};
    gaicb lookup{};
};

namespace {

timespec lookupTime(Clock::Duration timeout) {
    const auto left = std::max(timeout, Clock::Duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    return {static_cast<std::time_t>(seconds.count()), static_cast<long>((left - seconds).count())};
}

} // namespace

AddressLookup::AddressLookup(const std::string& host, std::uint16_t port, Clock::Duration timeout) :
    request{std::make_unique<Request>(host, port)} {
    if (request->isAddress()) {
        return;
    }
    gaicb* lookups[] = {&request->lookup};
    int result = getaddrinfo_a(GAI_NOWAIT, lookups, 1, nullptr);
    if (result == 0) {
        const timespec limit = lookupTime(timeout);
        gai_suspend(lookups, 1, &limit);
        result = gai_error(&request->lookup);
    }
    if (result != 0) {
        reason = "the address of " + host + " was not found: " +
                 (result == EAI_INPROGRESS ? std::string{"no answer in time"} : gai_strerror(result));
    }
    if (result == EAI_INPROGRESS && gai_cancel(&request->lookup) == EAI_NOTCANCELED) {
        // The resolver's thread goes on writing into the request, so it is left to it.
        [[maybe_unused]] const Request* abandoned = request.release();
    }
}

AddressLookup::~AddressLookup() = default;

const addrinfo* AddressLookup::first() const {
    return request ? request->lookup.ar_result : nullptr;
}

} // namespace velk::common
