#include "plugins/nut/Poller.h"

#include "testing/FakeClock.h"
#include "tests/plugins/nut/NutLists.h"
#include "tests/plugins/nut/ScriptedServer.h"

#include <gtest/gtest.h>

namespace velk::nut {
namespace {

using velk::common::Mutex;
using velk::common::MutexLock;
using velk::testing::configurationFor;
using velk::testing::FakeClock;
using velk::testing::nameList;
using velk::testing::ScriptedServer;
using velk::testing::variableList;
using namespace std::chrono_literals;

class PollerTest : public ::testing::Test {
protected:
    PollerTest() : poller{configuration, interrupt, clock} {
        say(variableList({{"ups.load", "34"}, {"ups.status", "OL"}}));
    }
    ~PollerTest() override { poller.stop(); }

    /// What the server answers to the lists of variables from now on.
    void say(const std::string& answer) {
        const MutexLock lock{mutex};
        list = answer;
    }

    void sayTo(const std::string& line, const std::string& answer) {
        const MutexLock lock{mutex};
        special[line] = answer;
    }

    void startAndPoll() {
        poller.start();
        clock.awaitBlocked(1);
    }
    void pollAgain(std::chrono::milliseconds pause = 100ms) {
        clock.advance(pause);
        clock.awaitBlocked(1);
    }
    void makeGood() {
        startAndPoll();
        pollAgain();
        ASSERT_TRUE(poller.attach());
    }
    std::string load() const {
        const auto snapshot = poller.current();
        const std::string* text = snapshot ? snapshot->find("ups.load") : nullptr;
        return text == nullptr ? "none" : *text;
    }
    int state() const { return poller.status().state; }

    std::string answer(const std::string& line) {
        std::string text;
        std::function<void()> hook;
        {
            const MutexLock lock{mutex};
            const auto known = special.find(line);
            text = known != special.end()           ? known->second
                   : line.rfind("LIST VAR", 0) == 0 ? list
                   : line == "LIST RW u1"           ? nameList("RW", {})
                                                    : nameList("CMD", {});
            hook = duringList;
        }
        if (hook) {
            hook();
        }
        return text;
    }

    Mutex mutex;
    std::string list VELK_GUARDED_BY(mutex);
    std::map<std::string, std::string> special VELK_GUARDED_BY(mutex); ///< answers to lines
    std::function<void()> duringList VELK_GUARDED_BY(mutex);
    ScriptedServer server{[this](const std::string& line) { return answer(line); }};
    NutConfiguration configuration{configurationFor(server.port())};
    Interrupt interrupt;
    FakeClock clock{FakeClock::Passing::ByHand};
    Poller poller;
};

TEST_F(PollerTest, OneListIsNotEnough) {
    startAndPoll();
    EXPECT_FALSE(poller.attach());
    EXPECT_EQ(poller.lastGood(), nullptr);
    pollAgain();
    EXPECT_TRUE(poller.attach());
    EXPECT_EQ(load(), "34");
}

TEST_F(PollerTest, TwoListsMayDifferInTheirValues) {
    startAndPoll();
    say(variableList({{"ups.load", "35"}, {"ups.status", "OB"}}));
    pollAgain();
    EXPECT_TRUE(poller.attach());
    EXPECT_EQ(load(), "35");
}

TEST_F(PollerTest, ListWithNewNamesStartsTheCountAnew) {
    say(variableList({{"ups.status", "OL"}}));
    startAndPoll();
    say(variableList({{"ups.load", "34"}, {"ups.status", "OL"}}));
    pollAgain();
    EXPECT_FALSE(poller.attach());
    pollAgain();
    EXPECT_TRUE(poller.attach());
}

TEST_F(PollerTest, PlaceholderOfAStartingDriverIsNoData) {
    say(variableList({{"ups.status", "WAIT"}}));
    startAndPoll();
    pollAgain();
    pollAgain();
    EXPECT_FALSE(poller.attach());
    EXPECT_EQ(state(), 3);
}

TEST_F(PollerTest, DriverThatHasLostTheDeviceHasNoData) {
    makeGood();
    say(variableList({{"ups.load", "34"}, {"ups.status", "OL NOCOMM"}}));
    pollAgain();
    EXPECT_EQ(state(), 3);
    EXPECT_EQ(load(), "none");
    say(variableList({{"ups.load", "34"}, {"ups.status", "OL COMM"}}));
    pollAgain();
    pollAgain();
    EXPECT_EQ(state(), 2);
}

TEST_F(PollerTest, VariableWhoseLimitsAreNotToldHasNone) {
    sayTo("LIST CMD u1", "ERR CMD-NOT-SUPPORTED\n");
    sayTo("LIST RW u1", nameList("RW", {"a", "b", "c", "d"}));
    sayTo("GET TYPE u1 a", "ERR VAR-NOT-SUPPORTED\n");
    sayTo("GET TYPE u1 b", "TYPE u1 b RW ENUM\n");
    sayTo("LIST ENUM u1 b", "ERR INVALID-ARGUMENT\n");
    sayTo("GET TYPE u1 c", "TYPE u1 c RW RANGE\n");
    sayTo("LIST RANGE u1 c", "ERR INVALID-ARGUMENT\n");
    sayTo("GET TYPE u1 d", "TYPE u1 d RW STRING:8\n");
    makeGood();
    const auto snapshot = poller.current();
    ASSERT_NE(snapshot, nullptr);
    const auto& writable = snapshot->capabilities->writable;
    ASSERT_EQ(writable.size(), 4U);
    EXPECT_TRUE(writable.at("a").words.empty());
    EXPECT_TRUE(writable.at("b").words.empty());
    EXPECT_TRUE(writable.at("c").ranges.empty());
    EXPECT_EQ(writable.at("d").maxLength, 8U);
    EXPECT_TRUE(snapshot->capabilities->commands.empty());
}

TEST_F(PollerTest, LossThatShowsAtAQuestionIsALoss) {
    for (const char* answer : {"ERR DATA-STALE\n", "ERR DRIVER-NOT-CONNECTED\n"}) {
        sayTo("LIST RW u1", nameList("RW", {"a"}));
        sayTo("GET TYPE u1 a", answer);
        startAndPoll();
        pollAgain();
        EXPECT_FALSE(poller.attach()) << answer;
        poller.stop();
    }
}

TEST_F(PollerTest, QuestionsToASlowServerDoNotHoldBackTheLists) {
    makeGood();
    say(variableList({{"a", "1"}, {"b", "1"}, {"ups.load", "40"}, {"ups.status", "OL"}}));
    sayTo("LIST RW u1", nameList("RW", {"a", "b"}));
    sayTo("GET TYPE u1 a", "TYPE u1 a RW STRING:8\n");
    sayTo("GET TYPE u1 b", "TYPE u1 b RW STRING:9\n");
    {
        const MutexLock lock{mutex};
        duringList = [this, slowAnswers = std::make_shared<int>(3)] {
            if ((*slowAnswers)-- > 0) {
                clock.advance(100ms);
            }
        };
    }
    const auto before = static_cast<std::ptrdiff_t>(server.requests().size());
    pollAgain();
    EXPECT_EQ(load(), "40");
    const auto requests = server.requests();
    EXPECT_EQ((std::vector<std::string>{requests.begin() + before, requests.end()}),
              (std::vector<std::string>{"LIST VAR u1", "LIST CMD u1", "LIST RW u1", "LIST VAR u1",
                                        "LIST CMD u1", "LIST RW u1", "GET TYPE u1 a", "GET TYPE u1 b"}));
    pollAgain();
    EXPECT_EQ(poller.current()->capabilities->writable.at("a").maxLength, 8U);
    EXPECT_EQ(poller.current()->capabilities->writable.at("b").maxLength, 9U);
    EXPECT_EQ(state(), 2);
}

TEST_F(PollerTest, EmptyListIsNoData) {
    say(variableList({}));
    startAndPoll();
    pollAgain();
    EXPECT_FALSE(poller.attach());
}

TEST_F(PollerTest, NothingIsServedBeforeTheDeviceIsTaken) {
    startAndPoll();
    pollAgain();
    EXPECT_EQ(poller.current(), nullptr);
    EXPECT_EQ(state(), 3);
    poller.attach();
    EXPECT_EQ(state(), 2);
    poller.detach();
    EXPECT_EQ(state(), 3);
    EXPECT_EQ(poller.current(), nullptr);
}

TEST_F(PollerTest, NamesThatComeWhileDataAreGoodAreTaken) {
    makeGood();
    say(variableList({{"ups.alarm", "Replace battery"}, {"ups.load", "36"}, {"ups.status", "OL"}}));
    pollAgain();
    EXPECT_EQ(state(), 2);
    EXPECT_EQ(load(), "36");
}

TEST_F(PollerTest, ServerThatSaysStaleHasLostTheDevice) {
    makeGood();
    for (const char* answer : {"ERR DATA-STALE\n", "ERR DRIVER-NOT-CONNECTED\n"}) {
        say(answer);
        pollAgain();
        EXPECT_EQ(state(), 3) << answer;
        EXPECT_EQ(load(), "none") << answer;
        say(variableList({{"ups.load", "34"}, {"ups.status", "OL"}}));
        pollAgain();
        EXPECT_EQ(state(), 3) << "one list is not enough";
        pollAgain();
        EXPECT_EQ(state(), 2);
        EXPECT_EQ(load(), "34");
    }
}

TEST_F(PollerTest, LastGoodDataOutliveALoss) {
    makeGood();
    say("ERR DATA-STALE\n");
    pollAgain();
    ASSERT_NE(poller.lastGood(), nullptr);
    EXPECT_EQ(*poller.lastGood()->find("ups.load"), "34");
}

TEST_F(PollerTest, RestartedDriverIsALoss) {
    makeGood();
    say(variableList({{"ups.status", "WAIT"}}));
    pollAgain();
    EXPECT_EQ(state(), 3);
}

TEST_F(PollerTest, ClosedConnectionIsMadeAgainWithGrowingPauses) {
    makeGood();
    const std::size_t waitsBefore = clock.waits().size();
    say(std::string{ScriptedServer::CLOSE});
    pollAgain();
    EXPECT_EQ(state(), 3);
    for (const auto pause : {250ms, 500ms, 1000ms, 2000ms, 4000ms, 5000ms}) {
        pollAgain(pause);
    }
    const auto waits = clock.waits();
    const std::vector<Poller::Duration> pauses(waits.begin() + static_cast<std::ptrdiff_t>(waitsBefore),
                                               waits.end());
    EXPECT_EQ(pauses, (std::vector<Poller::Duration>{250ms, 500ms, 1s, 2s, 4s, 5s, 5s}));
    say(variableList({{"ups.load", "37"}, {"ups.status", "OL"}}));
    pollAgain(5000ms);
    pollAgain();
    EXPECT_EQ(state(), 2);
    EXPECT_EQ(load(), "37");
}

TEST_F(PollerTest, SilentServerIsALoss) {
    makeGood();
    say("");
    pollAgain(); // returns when the deadline of the list has passed
    EXPECT_EQ(state(), 3);
    EXPECT_EQ(load(), "none");
}

TEST_F(PollerTest, PutValueIsSeenAtOnce) {
    makeGood();
    poller.put("ups.load", "99");
    EXPECT_EQ(load(), "99");
}

TEST_F(PollerTest, ListThatWasAskedForEarlierDoesNotUndoAPutValue) {
    makeGood();
    {
        const MutexLock lock{mutex};
        duringList = [this] { poller.put("ups.load", "99"); };
    }
    pollAgain();
    EXPECT_EQ(load(), "99") << "the list still says 34";
    {
        const MutexLock lock{mutex};
        duringList = nullptr;
    }
    pollAgain();
    EXPECT_EQ(load(), "34") << "the device says so afterwards";
}

TEST_F(PollerTest, SinceMovesOnlyWithTheState) {
    makeGood();
    const auto since = poller.status().since;
    pollAgain();
    EXPECT_EQ(poller.status().since, since);
    EXPECT_GE(conv::UnixTime::now(), since);
}

TEST_F(PollerTest, StoppedPollerIsLostAndMayStartAgain) {
    makeGood();
    poller.stop();
    EXPECT_EQ(state(), 3);
    EXPECT_EQ(load(), "none");
    startAndPoll();
    pollAgain();
    EXPECT_EQ(state(), 2);
}

TEST_F(PollerTest, StopDoesNotWaitForASilentServer) {
    say("");
    configuration.pollInterval = 30s; // a deadline that the test would not outlast
    poller.start();
    while (server.requests().empty()) {
        std::this_thread::yield();
    }
    poller.stop();
    EXPECT_EQ(state(), 3);
}

} // namespace
} // namespace velk::nut
