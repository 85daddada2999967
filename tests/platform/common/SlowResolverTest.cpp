#include "platform/common/AddressLookup.h"
#include "platform/common/Export.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <csignal>
#include <dlfcn.h>
#include <mutex>
#include <netdb.h>
#include <string>

namespace velk::common {
namespace {

/// A resolver in the place of the machine's that knows no host and says so when the test lets it, for hosts
/// whose names end with ".slow".
class SlowResolver {
public:
    static bool isFor(const std::string& host) {
        return host.size() > 5 && host.compare(host.size() - 5, 5, ".slow") == 0;
    }

    int resolve() {
        std::unique_lock lock{mutex};
        ++asked;
        sigset_t blocked;
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        takesSignals = takesSignals || sigismember(&blocked, SIGTERM) == 0;
        changed.notify_all();
        changed.wait(lock, [this] { return answers > 0; });
        --answers;
        return EAI_NONAME;
    }

    void awaitAsked(int times) {
        std::unique_lock lock{mutex};
        changed.wait(lock, [&] { return asked >= times; });
    }

    void answer(int times) {
        const std::lock_guard lock{mutex};
        answers += times;
        changed.notify_all();
    }

    int timesAsked() {
        const std::lock_guard lock{mutex};
        return asked;
    }

    bool hasTakenSignals() {
        const std::lock_guard lock{mutex};
        return takesSignals;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    int asked{0};
    int answers{0};
    bool takesSignals{false};
};

SlowResolver& resolver() {
    static auto& only = *new SlowResolver; // its threads may outlive the program's objects
    return only;
}

} // namespace
} // namespace velk::common

// Found before that of the machine, also by the library.
extern "C" VELK_EXPORT int getaddrinfo(const char* host, const char* service, const addrinfo* hints,
                                       addrinfo** found) {
    using velk::common::SlowResolver;
    if (SlowResolver::isFor(host) && (hints->ai_flags & AI_NUMERICHOST) == 0) {
        return velk::common::resolver().resolve();
    }
    const auto ofTheMachine = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return ofTheMachine(host, service, hints, found);
}

namespace velk::common {
namespace {

TEST(SlowResolverTest, ResolverThatIsStillLookingIsNotAskedAgain) {
    const int before = resolver().timesAsked();
    for (int i = 0; i < 100; ++i) {
        const AddressLookup lookup{"host.slow", 6379, Clock::Duration::zero()};
        EXPECT_EQ(lookup.failure(), "the address of host.slow was not found: no answer in time");
        EXPECT_EQ(lookup.first(), nullptr);
    }
    const AddressLookup other{"other.slow", 6379, Clock::Duration::zero()};
    const AddressLookup port{"host.slow", 6380, Clock::Duration::zero()};
    resolver().awaitAsked(before + 3);
    EXPECT_EQ(resolver().timesAsked(), before + 3) << "one request for each, however often somebody tries";
    EXPECT_FALSE(resolver().hasTakenSignals());
    resolver().answer(3);
}

TEST(SlowResolverTest, AnswerThatCameTooLateIsDroppedAndTheNextLookupIsFresh) {
    const int before = resolver().timesAsked();
    { const AddressLookup late{"late.slow", 6379, Clock::Duration::zero()}; }
    resolver().awaitAsked(before + 1);
    resolver().answer(1);
    while (resolver().timesAsked() == before + 1) {
        const AddressLookup next{"late.slow", 6379, Clock::Duration::zero()};
        EXPECT_NE(next.failure(), "");
    }
    resolver().answer(1);
}

} // namespace
} // namespace velk::common
