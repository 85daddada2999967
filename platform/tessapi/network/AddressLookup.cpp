#include "platform/tessapi/network/AddressLookup.h"

#include "platform/tessapi/network/LinkError.h"

#include <netdb.h>
#include <sys/socket.h>

namespace tessapi {

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

    /// An address takes no resolver.
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

AddressLookup::AddressLookup(const std::string& host, std::uint16_t port, const Deadline& deadline) :
    request{std::make_unique<Request>(host, port)} {
    if (request->isAddress()) {
        return;
    }
    gaicb* lookups[] = {&request->lookup};
    int result = getaddrinfo_a(GAI_NOWAIT, lookups, 1, nullptr);
    if (result == 0) {
        const int left = deadline.left();
        const timespec limit{left / 1000, (left % 1000) * 1'000'000L};
        gai_suspend(lookups, 1, &limit);
        result = gai_error(&request->lookup);
    }
    if (result == EAI_INPROGRESS && gai_cancel(&request->lookup) == EAI_NOTCANCELED) {
        // The resolver's thread goes on writing into the request, so it is left to it.
        [[maybe_unused]] const Request* abandoned = request.release();
    }
    if (result != 0) {
        throw LinkError{"the address of " + host + " was not found: " +
                        (result == EAI_INPROGRESS ? std::string{"no answer in time"} : gai_strerror(result))};
    }
}

AddressLookup::~AddressLookup() = default;

const addrinfo* AddressLookup::first() const {
    return request->lookup.ar_result;
}

} // namespace tessapi
