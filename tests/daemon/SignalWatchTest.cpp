#include "daemon/SignalWatch.h"

#include <gtest/gtest.h>

#include <csignal>
#include <unistd.h>

namespace velk::daemon {
namespace {

TEST(SignalWatchTest, GivesEachSignalInsteadOfBeingEndedByIt) {
    SignalWatch signals;
    kill(getpid(), SIGTERM);
    EXPECT_EQ(signals.next(), SIGTERM);
    kill(getpid(), SIGINT);
    EXPECT_EQ(signals.next(), SIGINT);
}

TEST(SignalWatchTest, WakeEndsTheWait) {
    SignalWatch signals;
    signals.wake();
    EXPECT_EQ(signals.next(), std::nullopt);
}

TEST(SignalWatchTest, ASignalThatIsThereComesBeforeTheWake) {
    SignalWatch signals;
    signals.wake();
    kill(getpid(), SIGINT);
    EXPECT_EQ(signals.next(), SIGINT);
    EXPECT_EQ(signals.next(), std::nullopt);
}

TEST(SignalWatchTest, SignalsHaveTheirNames) {
    EXPECT_EQ(signalName(SIGINT), "SIGINT");
    EXPECT_EQ(signalName(SIGTERM), "SIGTERM");
    EXPECT_EQ(signalName(1), "signal 1");
}

} // namespace
} // namespace velk::daemon
