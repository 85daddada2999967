// How simulated time passes, and waits at the link, on a clock that the test moves.

#include "plugins/simulator/world/Simulation.h"

#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace velk::simulator {
namespace {

using namespace std::chrono_literals;
using velk::testing::FakeClock;

class SimulationTest : public ::testing::Test {
protected:
    void begin(double speed) {
        simulation.emplace(Simulation::Options{speed, 100ms, {}, std::nullopt}, device, faults, link, clock);
        simulation->start();
        clock.awaitBlocked(1);
    }
    /// Lets real time pass and waits until the simulation has done what is due.
    void pass(velk::common::Clock::Duration time) {
        clock.advance(time);
        clock.awaitBlocked(1);
    }
    void TearDown() override { simulation.reset(); }

    FakeClock clock{FakeClock::Passing::ByHand};
    std::shared_ptr<SimulatedDevice> device{std::make_shared<SimulatedDevice>(
        readDeviceFile(VELK_SOURCE_DIR "/plugins/simulator/devices/ats.json"), 1)};
    std::shared_ptr<FaultTable> faults{std::make_shared<FaultTable>()};
    std::shared_ptr<DeviceLink> link{std::make_shared<DeviceLink>(device, faults, 500ms, clock)};
    std::optional<Simulation> simulation;
};

TEST_F(SimulationTest, TimePassesByStepsAsFastAsTheSpeedSays) {
    begin(1);
    EXPECT_EQ(device->now(), 0ms);
    pass(50ms);
    EXPECT_EQ(device->now(), 0ms);
    pass(60ms);
    EXPECT_EQ(device->now(), 100ms);
    simulation->execute(SpeedCommand{60});
    clock.awaitBlocked(1);
    pass(100ms);
    EXPECT_GE(device->now(), 6000ms);
    EXPECT_LE(device->now(), 6200ms);
}

TEST_F(SimulationTest, TimeStandsStillAtSpeedZeroAndMovesByHand) {
    begin(0);
    pass(1h);
    EXPECT_EQ(device->now(), 0ms);
    EXPECT_EQ(simulation->execute(AdvanceCommand{2550ms}), R"(,"time":2.55)");
    EXPECT_EQ(device->now(), 2550ms);
}

TEST_F(SimulationTest, TimeThatTheMachineHasLostIsNotMadeUpFor) {
    begin(1);
    pass(20s); // the machine was asleep
    EXPECT_LE(device->now(), 1100ms);
}

TEST_F(SimulationTest, SilentAnswerTakesTheTimeOfTheClock) {
    begin(0);
    ASSERT_TRUE(link->connect());
    Fault silent;
    silent.kind = FaultKind::Silent;
    simulation->execute(FaultCommand{silent});
    std::thread reader{[&] { EXPECT_FALSE(link->ask("Inputs.1.Measure.Voltage").hasValue()); }};
    clock.awaitBlocked(2);
    clock.advance(499ms);
    EXPECT_EQ(link->status().state, 2);
    clock.awaitBlocked(2);
    clock.advance(1ms);
    reader.join();
    EXPECT_EQ(link->status().state, 3);
}

} // namespace
} // namespace velk::simulator
