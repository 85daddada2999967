#include "daemon/Supervisor.h"

#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace velk::daemon {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using velk::testing::FakeClock;
using Durations = std::vector<FakeClock::Duration>;

/// A manager whose run is what the test says.
class FakeManager : public IHostedManager {
public:
    FakeManager(std::function<void()> run, std::vector<std::string>& log) :
        script{std::move(run)}, events{log} {}
    ~FakeManager() override { events.emplace_back("manager gone"); }

    void exec() override { script(); }
    void exit() override { events.emplace_back("exit"); }
    std::uint32_t operatingStatus() const override {
        events.emplace_back("status");
        return looks == 0 ? 3 : (--looks, 0);
    }

    mutable int looks{0}; ///< how often the run has not begun yet

private:
    std::function<void()> script;
    std::vector<std::string>& events;
};

class SupervisorTest : public ::testing::Test {
protected:
    /// Every manager does `run`; the number of the run counts from 1.
    std::unique_ptr<Supervisor> supervising(std::function<void(int)> run) {
        return std::make_unique<Supervisor>(
            [this, run]() -> std::unique_ptr<IHostedManager> {
                const int number = ++made;
                auto manager = std::make_unique<FakeManager>([run, number] { run(number); }, events);
                manager->looks = looks;
                return manager;
            },
            clock, errors, "do this");
    }

    FakeClock clock;
    std::ostringstream errors;
    std::vector<std::string> events;
    int made{0};
    int looks{0};
};

TEST_F(SupervisorTest, MakesANewManagerAfterAFailureWithAPauseThatGrowsToAMinute) {
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int run) {
        if (run == 9) {
            supervisor->stop();
        }
        throw std::runtime_error{"no"};
    });
    supervisor->run();
    EXPECT_EQ(made, 9);
    EXPECT_EQ(clock.waits(), (Durations{seconds{1}, seconds{2}, seconds{4}, seconds{8}, seconds{16},
                                        seconds{32}, seconds{60}, seconds{60}}));
}

TEST_F(SupervisorTest, PausesBeginAgainAfterARunOfAMinute) {
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int run) {
        if (run == 4) {
            supervisor->stop();
        }
        clock.setNow(clock.now() + (run == 3 ? seconds{60} : seconds{59}));
        throw std::runtime_error{"no"};
    });
    supervisor->run();
    EXPECT_EQ(clock.waits(), (Durations{seconds{1}, seconds{2}, seconds{1}}));
}

TEST_F(SupervisorTest, ReportsAFailureInOneLineWithWhatToDo) {
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int run) {
        if (run == 1) {
            throw std::runtime_error{"alarm file broken"};
        }
        supervisor->stop();
    });
    supervisor->run();
    EXPECT_EQ(errors.str(),
              "powerdistributiond: the run ended with an error: alarm file broken; a new one begins in "
              "1 s; do this\n");
}

TEST_F(SupervisorTest, ReportsWhatIsNoStandardException) {
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int run) {
        if (run == 1) {
            throw 7;
        }
        if (run == 2) {
            throw std::runtime_error{""};
        }
        supervisor->stop();
    });
    supervisor->run();
    EXPECT_NE(errors.str().find("an exception that is none of the standard library"), std::string::npos);
    EXPECT_NE(errors.str().find("an exception without a text"), std::string::npos);
}

TEST_F(SupervisorTest, ARunThatEndsUnaskedIsBegunAnew) {
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int run) {
        if (run == 2) {
            supervisor->stop();
        }
    });
    supervisor->run();
    EXPECT_EQ(made, 2);
    EXPECT_EQ(errors.str(),
              "powerdistributiond: the run ended without being asked to; a new one begins in 1 s; "
              "do this\n");
}

/// Tells when its last copy goes.
struct TellingFailure : std::runtime_error {
    explicit TellingFailure(std::vector<std::string>& log) :
        std::runtime_error{"telling"}, life{&log, [](auto* events) {
                                                events->emplace_back("exception gone");
                                            }} {}
    std::shared_ptr<std::vector<std::string>> life;
};

TEST_F(SupervisorTest, TheExceptionIsGoneBeforeItsManager) {
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int run) {
        if (run == 1) {
            throw TellingFailure{events};
        }
        events.emplace_back("second run");
        supervisor->stop();
    });
    supervisor->run();
    events.resize(3);
    EXPECT_EQ(events, (std::vector<std::string>{"exception gone", "manager gone", "second run"}));
}

TEST_F(SupervisorTest, AManagerThatCannotBeMadeIsReportedAndTriedAgain) {
    std::unique_ptr<Supervisor> supervisor;
    int attempts = 0;
    supervisor = std::make_unique<Supervisor>(
        [&]() -> std::unique_ptr<IHostedManager> {
            if (++attempts == 2) {
                supervisor->stop();
            }
            throw std::runtime_error{"no memory"};
        },
        clock, errors, "do this");
    supervisor->run();
    EXPECT_EQ(attempts, 2);
    EXPECT_NE(errors.str().find("no memory; a new one begins in 1 s"), std::string::npos);
}

TEST_F(SupervisorTest, StopAsksTheManagerOnceAndOnlyWhenItsRunHasBegun) {
    looks = 3;
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int) {
        supervisor->stop();
        supervisor->stop();
    });
    supervisor->run();
    EXPECT_EQ(events,
              (std::vector<std::string>{"status", "status", "status", "status", "exit", "manager gone"}));
    EXPECT_EQ(clock.waits(), (Durations{milliseconds{10}, milliseconds{10}, milliseconds{10}}));
}

TEST_F(SupervisorTest, StopAsksAfterTwoSecondsEvenARunThatSeemsNeverToBegin) {
    looks = 1'000'000;
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int) { supervisor->stop(); });
    supervisor->run();
    EXPECT_EQ(clock.waits().size(), 200U);
    EXPECT_EQ(std::count(events.begin(), events.end(), "exit"), 1);
}

TEST_F(SupervisorTest, AfterStopNoRunBegins) {
    const std::unique_ptr<Supervisor> supervisor = supervising([](int) {});
    supervisor->stop();
    supervisor->run();
    EXPECT_EQ(made, 0);
}

TEST_F(SupervisorTest, AManagerThatIsReadyOnlyAfterStopIsNotRun) {
    std::unique_ptr<Supervisor> supervisor;
    bool executed = false;
    supervisor = std::make_unique<Supervisor>(
        [&]() -> std::unique_ptr<IHostedManager> {
            supervisor->stop();
            return std::make_unique<FakeManager>([&] { executed = true; }, events);
        },
        clock, errors, "do this");
    supervisor->run();
    EXPECT_FALSE(executed);
    EXPECT_EQ(events, std::vector<std::string>{"manager gone"});
    EXPECT_EQ(errors.str(), "");
}

TEST_F(SupervisorTest, AFailureOfTheRunThatIsBeingEndedIsReportedAndNotRepeated) {
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int) {
        supervisor->stop();
        throw std::runtime_error{"late"};
    });
    supervisor->run();
    EXPECT_EQ(made, 1);
    EXPECT_EQ(errors.str(), "powerdistributiond: the run ended with an error: late\n");
}

TEST_F(SupervisorTest, WhatARunFailsWithThatWasAbandonedIsNotReported) {
    std::unique_ptr<Supervisor> supervisor;
    supervisor = supervising([&](int) {
        supervisor->abandon();
        throw std::runtime_error{"late"};
    });
    supervisor->run();
    EXPECT_EQ(made, 1);
    EXPECT_EQ(errors.str(), "");
    EXPECT_EQ(std::count(events.begin(), events.end(), "exit"), 1);
}

TEST(SupervisorPauseTest, StopEndsAPauseAtOnce) {
    FakeClock clock{FakeClock::Passing::ByHand};
    std::ostringstream errors;
    std::vector<std::string> events;
    std::atomic<int> made{0};
    Supervisor supervisor{[&]() -> std::unique_ptr<IHostedManager> {
                              ++made;
                              return std::make_unique<FakeManager>([] { throw std::runtime_error{"no"}; },
                                                                   events);
                          },
                          clock, errors, "do this"};
    std::thread runner{[&] { supervisor.run(); }};
    clock.awaitBlocked(1);
    supervisor.stop();
    runner.join();
    EXPECT_EQ(made, 1);
}

} // namespace
} // namespace velk::daemon
