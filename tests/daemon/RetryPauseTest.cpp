#include "daemon/RetryPause.h"

#include <gtest/gtest.h>

namespace velk::daemon {
namespace {

using std::chrono::seconds;

TEST(RetryPauseTest, DoublesFromASecondToAMinuteAndStaysThere) {
    RetryPause pause;
    for (const int expected : {1, 2, 4, 8, 16, 32, 60, 60}) {
        EXPECT_EQ(pause.next(), seconds{expected});
    }
}

TEST(RetryPauseTest, BeginsAgainAfterAReset) {
    RetryPause pause;
    pause.next();
    pause.next();
    pause.reset();
    EXPECT_EQ(pause.next(), seconds{1});
}

} // namespace
} // namespace velk::daemon
