#include "powerdistribution/core/StateMachine.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace velk::powerdistribution {
namespace {

struct Machine;
using MachineState = State<FsmState, Machine>;

/// Notes each pause and does at it what the test asks for.
class PauseClock : public velk::common::Clock {
public:
    Duration now() const override { return elapsed; }
    Duration cpuTime() const override { return {}; }
    void waitFor(std::condition_variable_any&, velk::common::MutexLock&, Duration) override {}
    void sleepFor(Duration pause) override {
        pauses.push_back(pause);
        elapsed += pause;
        if (onPause) {
            onPause();
        }
    }

    std::vector<Duration> pauses;
    std::function<void()> onPause;

private:
    Duration elapsed{};
};

/// A machine of all eleven states whose actions only count their runs and go where the test says.
struct Machine {
    Machine();

    std::string run() {
        ::testing::internal::CaptureStdout();
        runStateMachine<Machine>(*this, state, at(FsmState::COMMUNICATION_LOST), at(FsmState::STOP), clock);
        return ::testing::internal::GetCapturedStdout();
    }
    const MachineState& at(FsmState id) const { return *states[static_cast<std::size_t>(id) - 1]; }
    int& runsOf(FsmState id) { return runs[static_cast<std::size_t>(id)]; }
    void go(FsmState from, FsmState to) { successor[static_cast<std::size_t>(from)] = to; }

    std::atomic<bool> exitRequested{false};
    std::atomic<bool> communicationLost{false};
    PauseClock clock;
    std::vector<std::unique_ptr<MachineState>> states;
    std::array<FsmState, 12> successor{};
    std::array<int, 12> runs{};
    const MachineState* state;
};

Machine::Machine() {
    for (std::uint32_t number = 1; number <= 11; ++number) {
        const auto id = static_cast<FsmState>(number);
        successor[number] = number < 11 ? static_cast<FsmState>(number + 1) : id;
        states.push_back(std::make_unique<MachineState>(id, [id](Machine& machine) -> const MachineState& {
            ++machine.runsOf(id);
            return machine.at(machine.successor[static_cast<std::size_t>(id)]);
        }));
    }
    go(FsmState::MONITOR, FsmState::MONITOR);
    state = &at(FsmState::BEGIN);
}

std::string line(const std::string& from, const std::string& to) {
    return "PowerDistributionManager: Transition from " + from + " to " + to + "\n";
}

const std::string upToMonitor = line("BEGIN", "DISCOVER") + line("DISCOVER", "ENUMERATE") +
                                line("ENUMERATE", "BUILD") + line("BUILD", "INITIALIZE") +
                                line("INITIALIZE", "START") + line("START", "MONITOR");

TEST(StateMachineTest, StatesHaveTheirNumbersAndTexts) {
    std::string texts;
    for (std::uint32_t number = 0; number <= 12; ++number) {
        texts += to_string(static_cast<FsmState>(number)) + " ";
    }
    EXPECT_EQ(texts, "UNKNOWN BEGIN DISCOVER ENUMERATE BUILD INITIALIZE START MONITOR COMMUNICATION_LOST "
                     "WAIT_COMMUNICATION_RECOVERY STOP END UNKNOWN ");
}

TEST(StateMachineTest, ProgressRunsTheNextStateAtOnceAndStayingPausesTwoSeconds) {
    Machine machine;
    machine.clock.onPause = [&] { machine.exitRequested = true; };
    EXPECT_EQ(machine.run(), upToMonitor + line("MONITOR", "STOP") + line("STOP", "END"));
    ASSERT_EQ(machine.clock.pauses.size(), 1U);
    EXPECT_EQ(machine.clock.pauses[0], std::chrono::seconds{2});
    EXPECT_EQ(machine.runsOf(FsmState::MONITOR), 1);
    EXPECT_EQ(machine.runsOf(FsmState::STOP), 1);
    EXPECT_EQ(machine.runsOf(FsmState::END), 0);
    EXPECT_FALSE(machine.exitRequested);
}

TEST(StateMachineTest, FailingStateIsTriedAgainEveryTwoSecondsUntilTheExit) {
    Machine machine;
    machine.go(FsmState::DISCOVER, FsmState::DISCOVER);
    machine.clock.onPause = [&] { machine.exitRequested = machine.clock.pauses.size() == 3; };
    EXPECT_EQ(machine.run(), line("BEGIN", "DISCOVER") + line("DISCOVER", "STOP") + line("STOP", "END"));
    EXPECT_EQ(machine.runsOf(FsmState::DISCOVER), 3);
}

TEST(StateMachineTest, LossBreaksOffAStateBeforeItsNextRun) {
    for (const FsmState broken : {FsmState::BEGIN, FsmState::DISCOVER, FsmState::ENUMERATE, FsmState::BUILD,
                                  FsmState::INITIALIZE, FsmState::START, FsmState::MONITOR}) {
        Machine machine;
        machine.state = &machine.at(broken);
        machine.communicationLost = true;
        machine.go(FsmState::WAIT_COMMUNICATION_RECOVERY, FsmState::STOP);
        EXPECT_EQ(machine.run(), line(to_string(broken), "COMMUNICATION_LOST") +
                                     line("COMMUNICATION_LOST", "WAIT_COMMUNICATION_RECOVERY") +
                                     line("WAIT_COMMUNICATION_RECOVERY", "STOP") + line("STOP", "END"));
        EXPECT_EQ(machine.runsOf(broken), 0) << to_string(broken);
    }
}

TEST(StateMachineTest, LossInStopIsIgnored) {
    Machine machine;
    machine.state = &machine.at(FsmState::STOP);
    machine.communicationLost = true;
    EXPECT_EQ(machine.run(), line("STOP", "END"));
}

TEST(StateMachineTest, LossAndRecoveryWithinOnePauseAreNotSeen) {
    Machine machine;
    machine.clock.onPause = [&] {
        machine.communicationLost = true;
        machine.communicationLost = false;
        machine.exitRequested = machine.clock.pauses.size() == 2;
    };
    EXPECT_EQ(machine.run(), upToMonitor + line("MONITOR", "STOP") + line("STOP", "END"));
    EXPECT_EQ(machine.runsOf(FsmState::MONITOR), 2);
}

TEST(StateMachineTest, LossWinsOverAnExitWhichIsHonouredOnTheNextPass) {
    Machine machine;
    machine.state = &machine.at(FsmState::MONITOR);
    machine.communicationLost = true;
    machine.exitRequested = true;
    EXPECT_EQ(machine.run(), line("MONITOR", "COMMUNICATION_LOST") + line("COMMUNICATION_LOST", "STOP") +
                                 line("STOP", "END"));
    EXPECT_EQ(machine.runsOf(FsmState::COMMUNICATION_LOST), 0);
}

TEST(StateMachineTest, ExitIsHonouredWhileWaitingForRecovery) {
    Machine machine;
    machine.state = &machine.at(FsmState::WAIT_COMMUNICATION_RECOVERY);
    machine.go(FsmState::WAIT_COMMUNICATION_RECOVERY, FsmState::WAIT_COMMUNICATION_RECOVERY);
    machine.communicationLost = true;
    machine.clock.onPause = [&] { machine.exitRequested = true; };
    EXPECT_EQ(machine.run(), line("WAIT_COMMUNICATION_RECOVERY", "STOP") + line("STOP", "END"));
}

TEST(StateMachineTest, ExitIsHonouredFromEveryStateBeforeItsActionRuns) {
    for (std::uint32_t number = 1; number <= 9; ++number) {
        Machine machine;
        const auto interrupted = static_cast<FsmState>(number);
        machine.state = &machine.at(interrupted);
        machine.exitRequested = true;
        EXPECT_EQ(machine.run(), line(to_string(interrupted), "STOP") + line("STOP", "END"));
        EXPECT_EQ(machine.runsOf(interrupted), 0) << to_string(interrupted);
        EXPECT_FALSE(machine.exitRequested) << to_string(interrupted);
    }
}

TEST(StateMachineTest, TransitionIsFlushedBeforeTheNextActionRuns) {
    /// Keeps only what was flushed.
    class Flushed : public std::stringbuf {
    public:
        std::string text;

    protected:
        int sync() override {
            text = str();
            return 0;
        }
    };

    Machine machine;
    Flushed output;
    machine.state = &machine.at(FsmState::MONITOR);
    machine.exitRequested = true;
    std::string seenByStop;
    const MachineState stop{FsmState::STOP, [&](Machine& stopping) -> const MachineState& {
                                seenByStop = output.text;
                                return stopping.at(FsmState::END);
                            }};
    std::streambuf* const before = std::cout.rdbuf(&output);
    runStateMachine<Machine>(machine, machine.state, machine.at(FsmState::COMMUNICATION_LOST), stop,
                             machine.clock);
    std::cout.rdbuf(before);
    EXPECT_EQ(seenByStop, line("MONITOR", "STOP"));
    EXPECT_EQ(output.text, line("MONITOR", "STOP") + line("STOP", "END"));
}

TEST(StateMachineTest, SecondExitDuringStopPausesOnceAndPrintsNothing) {
    Machine machine;
    machine.state = &machine.at(FsmState::STOP);
    machine.exitRequested = true;
    EXPECT_EQ(machine.run(), line("STOP", "END"));
    EXPECT_EQ(machine.clock.pauses.size(), 1U);
    EXPECT_EQ(machine.runsOf(FsmState::STOP), 1);
}

TEST(StateMachineTest, ExceptionOfAnActionLeavesTheLoop) {
    Machine machine;
    const MachineState failing{FsmState::DISCOVER,
                               [](Machine&) -> const MachineState& { throw std::runtime_error{"no store"}; }};
    machine.state = &failing;
    EXPECT_THROW(runStateMachine<Machine>(machine, machine.state, failing, failing, machine.clock),
                 std::runtime_error);
}

TEST(StateMachineTest, StateWithoutActionIsABadFunctionCall) {
    Machine machine;
    const MachineState empty{FsmState::DISCOVER, nullptr};
    machine.state = &empty;
    EXPECT_THROW(runStateMachine<Machine>(machine, machine.state, empty, empty, machine.clock),
                 std::bad_function_call);
}

} // namespace
} // namespace velk::powerdistribution
