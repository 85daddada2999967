#include "platform/common/AddressLookup.h"
#include "platform/common/Export.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <dlfcn.h>
#include <netdb.h>
#include <string>
#include <vector>

namespace velk::common {
namespace {

/// A resolver in the place of the machine's that answers when the test says, for hosts whose names end with
/// ".slow".
struct SlowResolver {
    static bool isFor(const gaicb& lookup) {
        const std::string host{lookup.ar_name};
        return host.size() > 5 && host.compare(host.size() - 5, 5, ".slow") == 0;
    }

    std::atomic<int> asked{0};
    std::atomic<int> answer{EAI_INPROGRESS};
    std::atomic<int> looked{0}; ///< at a request that was not answered
};

SlowResolver resolver;

template <class Function>
Function* ofTheMachine(Function* /*type*/, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace
} // namespace velk::common

using velk::common::resolver;

// Found before those of the machine, also by the library.
extern "C" {

VELK_EXPORT int getaddrinfo_a(int mode, gaicb* list[], int count, sigevent* event) {
    if (!velk::common::SlowResolver::isFor(*list[0])) {
        return velk::common::ofTheMachine(&getaddrinfo_a, "getaddrinfo_a")(mode, list, count, event);
    }
    ++resolver.asked;
    return 0;
}

VELK_EXPORT int gai_suspend(const gaicb* const list[], int count, const timespec* timeout) {
    return velk::common::SlowResolver::isFor(*list[0])
               ? EAI_AGAIN
               : velk::common::ofTheMachine(&gai_suspend, "gai_suspend")(list, count, timeout);
}

VELK_EXPORT int gai_error(gaicb* request) {
    if (!velk::common::SlowResolver::isFor(*request)) {
        return velk::common::ofTheMachine(&gai_error, "gai_error")(request);
    }
    ++resolver.looked;
    return resolver.answer;
}

VELK_EXPORT int gai_cancel(gaicb* request) {
    return velk::common::SlowResolver::isFor(*request)
               ? EAI_NOTCANCELED
               : velk::common::ofTheMachine(&gai_cancel, "gai_cancel")(request);
}

} // extern "C"

namespace velk::common {
namespace {

TEST(SlowResolverTest, ResolverThatIsStillLookingIsNotAskedAgain) {
    resolver.asked = 0;
    resolver.answer = EAI_INPROGRESS;
    for (int i = 0; i < 100; ++i) {
        const AddressLookup lookup{"host.slow", 6379, Clock::Duration::zero()};
        EXPECT_EQ(lookup.failure(), "the address of host.slow was not found: no answer in time");
        EXPECT_EQ(lookup.first(), nullptr);
    }
    EXPECT_EQ(resolver.asked, 1) << "so there is one request, however often somebody tries";
    const AddressLookup other{"other.slow", 6379, Clock::Duration::zero()};
    const AddressLookup port{"host.slow", 6380, Clock::Duration::zero()};
    EXPECT_EQ(resolver.asked, 3);
}

TEST(SlowResolverTest, AnswerThatCameTooLateIsDroppedAndTheNextLookupIsFresh) {
    resolver.answer = EAI_INPROGRESS;
    { const AddressLookup late{"late.slow", 6379, Clock::Duration::zero()}; }
    resolver.answer = EAI_NONAME;
    resolver.asked = 0;
    const AddressLookup lookup{"late.slow", 6379, Clock::Duration::zero()};
    EXPECT_EQ(resolver.asked, 1);
    EXPECT_EQ(lookup.failure(),
              std::string{"the address of late.slow was not found: "} + gai_strerror(EAI_NONAME));
    resolver.looked = 0;
    const AddressLookup next{"late.slow", 6379, Clock::Duration::zero()};
    EXPECT_EQ(resolver.looked, 1) << "there is none left but its own";
}

} // namespace
} // namespace velk::common
