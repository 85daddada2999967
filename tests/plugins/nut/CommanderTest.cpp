#include "plugins/nut/Commander.h"

#include "testing/FakeClock.h"
#include "tests/plugins/nut/NutLists.h"
#include "tests/plugins/nut/ScriptedServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace velk::nut {
namespace {

using velk::testing::configurationFor;
using velk::testing::FakeClock;
using velk::testing::ScriptedServer;
using namespace std::chrono_literals;

using Words = std::vector<std::string>;

/// A commander of a server whose answers a test gives by the beginning of the line; "OK" for all others.
class CommanderTest : public ::testing::Test {
protected:
    std::string answer(const std::string& line) {
        clock.advance(slowness);
        for (auto& [begin, answers] : script) {
            if (line.rfind(begin, 0) == 0) {
                const std::string next = answers.front();
                if (answers.size() > 1) {
                    answers.erase(answers.begin());
                }
                return next == std::string{ScriptedServer::CLOSE} ? next : next + "\n";
            }
        }
        return "OK\n";
    }

    std::string failureOf(const std::function<void()>& change) {
        try {
            change();
            return "none";
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
    }

    static bool hasArrived(const std::string& /*before*/, const std::string& now) { return now == "21"; }

    // Written before the server is asked anything, read on its thread.
    std::map<std::string, Words> script;
    Commander::Duration slowness{};
    FakeClock clock;
    ScriptedServer server{[this](const std::string& line) { return answer(line); }};
    NutConfiguration configuration{configurationFor(server.port())};
    Interrupt interrupt;
    Commander commander{configuration, interrupt, clock};
};

TEST_F(CommanderTest, SettingWaitsForItsOutcomeAndForTheNewValue) {
    script = {{"SET VAR", {"OK TRACKING 7"}},
              {"GET TRACKING 7", {"PENDING", "PENDING", "SUCCESS"}},
              {"GET VAR", {"VAR u1 x \"20\"", "VAR u1 x \"20\"", "VAR u1 x \"21\""}}};
    EXPECT_EQ(commander.set("x", "21", hasArrived), "21");
    const Words expected{"USERNAME \"velk\"",   "PASSWORD \"secret\"", "SET TRACKING ON", "GET VAR u1 x",
                         "SET VAR u1 x \"21\"", "GET TRACKING 7",      "GET TRACKING 7",  "GET TRACKING 7",
                         "GET VAR u1 x",        "GET VAR u1 x"};
    EXPECT_EQ(server.requests(), expected);
}

TEST_F(CommanderTest, ServerWithoutTrackingIsBelievedWhenTheValueArrives) {
    script = {{"SET TRACKING", {"ERR UNKNOWN-COMMAND"}}, {"GET VAR", {"VAR u1 x \"20\"", "VAR u1 x \"21\""}}};
    EXPECT_EQ(commander.set("x", "21", hasArrived), "21");
}

TEST_F(CommanderTest, DeviceThatKeepsItsOldValueHasNotTakenTheSetting) {
    script = {
        {"SET VAR", {"OK TRACKING 7"}}, {"GET TRACKING", {"SUCCESS"}}, {"GET VAR", {"VAR u1 x \"20\""}}};
    EXPECT_EQ(failureOf([&] { commander.set("x", "21", hasArrived); }), "the device kept x at \"20\"");
}

TEST_F(CommanderTest, DriverThatRefusesIsTold) {
    script = {{"INSTCMD", {"OK TRACKING 7"}}, {"GET TRACKING", {"PENDING", "ERR FAILED"}}};
    EXPECT_EQ(failureOf([&] { commander.run("load.off", ""); }), "ERR FAILED");
}

TEST_F(CommanderTest, DriverThatNeverAnswersEndsAtTheDeadline) {
    script = {{"INSTCMD", {"OK TRACKING 7"}}, {"GET TRACKING", {"PENDING"}}};
    EXPECT_EQ(failureOf([&] { commander.run("load.off", ""); }),
              "the driver did not say in time what came of it");
    EXPECT_LE(clock.now() - FakeClock{}.now(), Commander::TIMEOUT + 20ms);
}

TEST_F(CommanderTest, OneDeadlineBoundsAllSteps) {
    slowness = 2s;
    EXPECT_EQ(failureOf([&] { commander.set("x", "21", hasArrived); }), "the server did not answer in time");
    const auto requests = server.requests();
    EXPECT_EQ(requests.back(), "SET TRACKING ON") << "and the change is not sent any more";
}

TEST_F(CommanderTest, ValueJustBeforeTheChangeIsToldWithTheNewOne) {
    script = {{"GET VAR", {"VAR u1 x \"19\"", "VAR u1 x \"19\"", "VAR u1 x \"22\""}}};
    Words seen;
    commander.set("x", "21", [&](const std::string& before, const std::string& now) {
        seen.push_back(before + " " + now);
        return before != now;
    });
    EXPECT_EQ(seen, (Words{"19 19", "19 22"}));
}

TEST_F(CommanderTest, ChangeIsNeverSentTwice) {
    script = {{"INSTCMD", {std::string{ScriptedServer::CLOSE}}}};
    EXPECT_NE(failureOf([&] { commander.run("load.off", ""); }), "none");
    const auto requests = server.requests();
    EXPECT_EQ(std::count(requests.begin(), requests.end(), "INSTCMD u1 load.off"), 1);
}

TEST_F(CommanderTest, WrongPasswordShowsAtTheChange) {
    script = {{"SET VAR", {"ERR ACCESS-DENIED"}}, {"GET VAR", {"VAR u1 x \"20\""}}};
    EXPECT_EQ(failureOf([&] { commander.set("x", "21", hasArrived); }), "ERR ACCESS-DENIED");
}

TEST_F(CommanderTest, UnsafeValueIsRefusedBeforeAnythingIsSent) {
    for (const std::string value : {"a#b", "a\"b", "a\\b", "a\nb"}) {
        EXPECT_EQ(failureOf([&] { commander.set("x", value, hasArrived); }),
                  "the server takes no value with '#', '\"', '\\' or control characters");
    }
    EXPECT_EQ(server.requests(), Words{});
}

TEST_F(CommanderTest, CommandTakesItsParameter) {
    commander.run("load.off.delay", "30");
    EXPECT_EQ(server.requests().back(), "INSTCMD u1 load.off.delay \"30\"");
}

TEST_F(CommanderTest, CommandThatChangesAVariableWaitsForIt) {
    script = {{"GET VAR", {"VAR u1 x \"20\"", "VAR u1 x \"21\""}}};
    EXPECT_EQ(commander.run("beeper.mute", "x", hasArrived), "21");
}

TEST_F(CommanderTest, StopEndsTheWait) {
    script = {{"INSTCMD", {"OK TRACKING 7"}}, {"GET TRACKING", {"PENDING"}}};
    interrupt.raise();
    EXPECT_EQ(failureOf([&] { commander.run("load.off", ""); }), "stopped");
}

} // namespace
} // namespace velk::nut
