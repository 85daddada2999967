#include "powerdistribution/datamodel/DataModelScheduler.h"

#include "RecordingHandler.h"
#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace velk::powerdistribution::datamodel {
namespace {

using testing::RecordingHandler;
using Calls = std::vector<std::string>;

class DataModelSchedulerTest : public ::testing::Test {
protected:
    std::shared_ptr<RecordingHandler> enter(const EPath& path) {
        auto handler = std::make_shared<RecordingHandler>(path, log);
        model.emplace(handler);
        return handler;
    }

    void await(const std::string& call, std::size_t count = 1) const {
        while (log->count(call) < count) {
            std::this_thread::yield();
        }
    }

    /// How many cycles had begun when `call` came for the first time: a status runs first in each.
    std::ptrdiff_t cyclesBefore(const std::string& call) const {
        const Calls calls = log->calls();
        const auto first = std::find(calls.begin(), calls.end(), call);
        EXPECT_NE(first, calls.end()) << call;
        return std::count(calls.begin(), first, "refresh Status.Mode");
    }

    static std::string failureOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    }

    std::shared_ptr<testing::CallLog> log = std::make_shared<testing::CallLog>();
    testing::FakeClock clock;
    DataModelContainer model;
    DataModelScheduler scheduler{1, 100, 1, clock}; // one worker, so that the order of the runs is fixed
};

TEST_F(DataModelSchedulerTest, EachGroupHasItsRank) {
    enter({EStatus::Mode});
    enter({EMeasurement::Phase});
    enter({ESetting::Temperature});
    enter({ESpecification::Type});
    enter({EAttribute::Model});
    enter({EPrivate::InternalLogs});
    enter({ECommunicationStatus::State});
    scheduler.initialize(model);
    scheduler.start();
    await("refresh Setting.Temperature");
    await("refresh Specification.Type");
    await("refresh Attribute.Model");
    scheduler.stop();
    EXPECT_LE(cyclesBefore("refresh CommunicationStatus.State"), 1);
    EXPECT_EQ(cyclesBefore("refresh Measure.Phase"), 5);
    EXPECT_EQ(cyclesBefore("refresh Private.InternalLogs"), 21);
    EXPECT_EQ(cyclesBefore("refresh Setting.Temperature"), 61);
    EXPECT_EQ(cyclesBefore("refresh Specification.Type"), 61);
    EXPECT_EQ(cyclesBefore("refresh Attribute.Model"), 61);
}

TEST_F(DataModelSchedulerTest, AMeasureRunsInEveryFifthCycle) {
    enter({EStatus::Mode});
    enter({EMeasurement::Phase});
    scheduler.initialize(model);
    scheduler.start();
    await("refresh Measure.Phase", 2);
    scheduler.stop();
    const Calls calls = log->calls();
    Calls expected(12, "refresh Status.Mode");
    expected[5] = "refresh Measure.Phase";
    expected[11] = "refresh Measure.Phase";
    EXPECT_EQ(Calls(calls.begin(), calls.begin() + 12), expected);
}

TEST_F(DataModelSchedulerTest, OfThePrivateDataPointsOnlyTheInternalLogsArePolled) {
    enter({EPrivate::InternalLogs});
    enter({EPrivate::LogChunk});
    enter({EPrivate::LogTopId});
    enter({EPrivate::AlarmConfigurationFile});
    enter({ECircuit::Inputs});
    enter({EAction::StartTest});
    enter({});
    scheduler.initialize(model);
    scheduler.start();
    await("refresh Private.InternalLogs", 3);
    scheduler.stop();
    const Calls calls = log->calls();
    EXPECT_EQ(static_cast<std::size_t>(std::count(calls.begin(), calls.end(), calls.front())), calls.size());
}

TEST_F(DataModelSchedulerTest, AHandlerThatFailsRunsAgainInItsTurn) {
    enter({EStatus::Mode})->throwOn("refresh", "no answer");
    scheduler.initialize(model);
    scheduler.start();
    await("refresh Status.Mode", 3);
    scheduler.stop();
    EXPECT_GE(log->count("refresh Status.Mode"), 3U);
}

TEST_F(DataModelSchedulerTest, ASecondInitializeFailsAndTheFirstStays) {
    enter({EStatus::Mode});
    scheduler.initialize(model);
    enter({EMeasurement::Phase});
    EXPECT_EQ(failureOf([&] { scheduler.initialize(model); }), "Data model scheduler is already initialized");
    scheduler.start();
    await("refresh Status.Mode", 20);
    scheduler.stop();
    EXPECT_EQ(log->count("refresh Measure.Phase"), 0U);
}

TEST_F(DataModelSchedulerTest, StartNeedsAnInitialize) {
    const std::string text{"Attempt to start an uninitialized data model scheduler"};
    EXPECT_EQ(failureOf([&] { scheduler.start(); }), text);
    scheduler.initialize(model);
    EXPECT_TRUE(scheduler.isInitialized());
    scheduler.terminate();
    EXPECT_FALSE(scheduler.isInitialized());
    EXPECT_EQ(failureOf([&] { scheduler.start(); }), text);
}

TEST_F(DataModelSchedulerTest, StopOfAnEmptyOrStoppedSchedulerDoesNothing) {
    scheduler.stop();
    scheduler.initialize(model);
    scheduler.stop();
    scheduler.start();
    scheduler.stop();
    scheduler.stop();
    scheduler.terminate();
    scheduler.stop();
    scheduler.terminate();
    EXPECT_FALSE(scheduler.isInitialized());
}

TEST_F(DataModelSchedulerTest, AModelWithoutHandlersStartsAndStops) {
    scheduler.initialize(model);
    scheduler.start();
    scheduler.stop();
    EXPECT_TRUE(log->calls().empty());
}

TEST_F(DataModelSchedulerTest, AStoppedSchedulerKeepsItsTasksAndGoesOn) {
    enter({EStatus::Mode});
    scheduler.initialize(model);
    scheduler.start();
    await("refresh Status.Mode", 2);
    scheduler.stop();
    log->clear();
    scheduler.start();
    await("refresh Status.Mode", 2);
    scheduler.start(); // does nothing while it runs
    scheduler.stop();
}

TEST_F(DataModelSchedulerTest, TerminateReleasesTheHandlers) {
    const std::weak_ptr<RecordingHandler> status = enter({EStatus::Mode});
    scheduler.initialize(model);
    scheduler.start();
    await("refresh Status.Mode", 2);
    model = {};
    EXPECT_FALSE(status.expired());
    scheduler.terminate();
    EXPECT_TRUE(status.expired());
}

TEST_F(DataModelSchedulerTest, TheDestructorStopsWhatRuns) {
    const std::weak_ptr<RecordingHandler> status = enter({EStatus::Mode});
    {
        DataModelScheduler running{2, 100, 1, clock};
        running.initialize(model);
        running.start();
        await("refresh Status.Mode", 2);
        model = {};
    }
    EXPECT_TRUE(status.expired());
}

/// A clock of a machine that has lost its time.
class BrokenClock : public velk::common::Clock {
public:
    /// `oddly` means with what is no standard exception.
    explicit BrokenClock(bool oddly = false) : isOdd{oddly} {}
    Duration now() const override {
        if (isOdd) {
            throw 42;
        }
        throw std::runtime_error{"no time"};
    }
    Duration cpuTime() const override { return {}; }
    void sleepFor(Duration) override {}
    void waitFor(std::condition_variable_any&, velk::common::MutexLock&, Duration) override {}

private:
    const bool isOdd;
};

TEST_F(DataModelSchedulerTest, AStopRethrowsOnceWhatEndedTheScheduling) {
    enter({EStatus::Mode});
    BrokenClock broken;
    DataModelScheduler failing{1, 100, 1, broken};
    failing.initialize(model);
    failing.start();
    EXPECT_EQ(failureOf([&] { failing.stop(); }), "no time");
    EXPECT_EQ(failureOf([&] { failing.stop(); }), "none");
    failing.start();
    EXPECT_EQ(failureOf([&] { failing.terminate(); }), "no time");
    EXPECT_TRUE(failing.isInitialized());
    failing.terminate();
    EXPECT_FALSE(failing.isInitialized());
}

TEST_F(DataModelSchedulerTest, ADestructorPassesOverWhateverEndedTheScheduling) {
    for (const bool oddly : {false, true}) {
        const std::weak_ptr<RecordingHandler> status = enter({EStatus::Mode});
        BrokenClock broken{oddly};
        {
            DataModelScheduler failing{1, 100, 1, broken};
            failing.initialize(model);
            failing.start();
            model = {};
        }
        EXPECT_TRUE(status.expired());
    }
}

TEST_F(DataModelSchedulerTest, WithoutWorkersNothingIsPolledAndAStopStillEndsIt) {
    enter({EStatus::Mode});
    testing::FakeClock byHand{testing::FakeClock::Passing::ByHand};
    DataModelScheduler idle{0, 100, 1, byHand};
    idle.initialize(model);
    idle.start();
    byHand.awaitBlocked(1);
    EXPECT_EQ(byHand.waits().front(), std::chrono::milliseconds{500}) << "it waits for room";
    std::thread owner{[&] { idle.stop(); }};
    std::atomic<bool> stopped{false};
    std::thread time{[&] {
        while (!stopped) {
            byHand.advance(std::chrono::milliseconds{500});
            std::this_thread::yield();
        }
    }};
    owner.join();
    stopped = true;
    time.join();
    EXPECT_TRUE(log->calls().empty());
}

TEST_F(DataModelSchedulerTest, AStopEndsARestAtOnce) {
    enter({EStatus::Mode});
    testing::FakeClock still{testing::FakeClock::Passing::ByHand};
    DataModelScheduler resting{1, 10, 60000, still};
    resting.initialize(model);
    resting.start();
    still.awaitBlocked(1);
    resting.stop(); // would block for ever if the rest went on: nobody moves the clock
    resting.terminate();
    EXPECT_FALSE(resting.isInitialized());
}

} // namespace
} // namespace velk::powerdistribution::datamodel
