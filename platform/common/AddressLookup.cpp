#include "platform/common/AddressLookup.h"

#include "platform/common/Mutex.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <netdb.h>
#include <sys/socket.h>
#include <utility>
#include <vector>

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

/// What the resolver's threads still write into and nobody waits for. Threads: any.
class AddressLookup::Abandoned {
public:
    using RequestPtr = std::unique_ptr<Request>;

    static Abandoned& ofProcess() {
        // Never destroyed: the resolver does not end with the program's objects.
        static auto& all = *new Abandoned; // NOLINT(cppcoreguidelines-owning-memory)
        return all;
    }

    void add(RequestPtr request) VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        requests.push_back(std::move(request));
    }

    /// The one that asks the same and is not answered yet; null when there is none. The others that have been
    /// answered by now go.
    RequestPtr takeLike(const Request& wanted) VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        requests.erase(
            std::remove_if(requests.begin(), requests.end(),
                           [](const auto& request) { return gai_error(&request->lookup) != EAI_INPROGRESS; }),
            requests.end());
        const auto like = std::find_if(requests.begin(), requests.end(), [&wanted](const auto& request) {
            return request->host == wanted.host && request->port == wanted.port;
        });
        if (like == requests.end()) {
            return nullptr;
        }
        auto taken = std::move(*like);
        requests.erase(like);
        return taken;
    }

private:
    Mutex mutex;
    std::vector<RequestPtr> requests VELK_GUARDED_BY(mutex);
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
    const int result = ask(timeout);
    if (result != 0) {
        reason = "the address of " + host + " was not found: " +
                 (result == EAI_INPROGRESS ? std::string{"no answer in time"} : gai_strerror(result));
    }
    if (result == EAI_INPROGRESS && gai_cancel(&request->lookup) == EAI_NOTCANCELED) {
        Abandoned::ofProcess().add(std::move(request));
    }
}

int AddressLookup::ask(Clock::Duration timeout) {
    if (auto running = Abandoned::ofProcess().takeLike(*request)) {
        request = std::move(running);
    } else {
        gaicb* lookups[] = {&request->lookup};
        if (const int failure = getaddrinfo_a(GAI_NOWAIT, lookups, 1, nullptr); failure != 0) {
            return failure;
        }
    }
    const gaicb* const lookups[] = {&request->lookup};
    const timespec limit = lookupTime(timeout);
    gai_suspend(lookups, 1, &limit);
    return gai_error(&request->lookup);
}

AddressLookup::~AddressLookup() = default;

const addrinfo* AddressLookup::first() const {
    return request ? request->lookup.ar_result : nullptr;
}

} // namespace velk::common
