#include "plugins/simulator/model/SimulatedClock.h"
#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

namespace velk::simulator {

using namespace std::chrono_literals;

TEST(EnergyTest, MeterCountsWhatFlows) {
    ShippedDevice device{"ats"};
    for (int hour = 0; hour < 10; ++hour) {
        device.model.step(1h);
    }
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.TotalCumulatedEnergy"), 9000);
    EXPECT_NEAR(device.number("Inputs.1.Measure.TotalCumulatedEnergy"), 9078, 1);
    EXPECT_EQ(device.number("Inputs.2.Measure.TotalCumulatedEnergy"), 0);
}

TEST(EnergyTest, PeriodsBeginAnewAndTheTotalGoesOn) {
    ShippedDevice device{"pdu-42"};
    const std::string node = "Branches.1.Measure.";
    const double watts = 965;
    for (int hour = 0; hour < 30; ++hour) {
        device.model.step(1h);
    }
    EXPECT_NEAR(device.number(node + "EnergyDaily"), 6 * watts, 1);
    EXPECT_NEAR(device.number(node + "EnergyMonthly"), 30 * watts, 1);
    EXPECT_NEAR(device.number(node + "AverageEnergy"), 4 * watts, 1) << "a step of an hour ends one quarter";
    for (int day = 0; day < 31; ++day) {
        device.model.step(24h);
    }
    EXPECT_NEAR(device.number(node + "EnergyMonthly"), 24 * watts, watts * 24);
    EXPECT_NEAR(device.number(node + "EnergyYearly"), (30 + 31 * 24) * watts, 1);
    EXPECT_NEAR(device.number(node + "TotalCumulatedEnergy"), (30 + 31 * 24) * watts, 1);
}

TEST(EnergyTest, AverageIsThatOfTheLastQuarterOfAnHour) {
    ShippedDevice device{"pdu-42"};
    for (int minute = 0; minute < 15; ++minute) {
        device.model.step(1min);
    }
    EXPECT_NEAR(device.number("Branches.1.Measure.AverageEnergy"), 965, 1);
}

TEST(EnergyTest, ClockMovesByStepsAloneAndCanBeSet) {
    ShippedDevice device{"ups-3ph"};
    EXPECT_EQ(device.model.now(), conv::UnixTime{1767225600});
    device.run(2);
    EXPECT_EQ(device.model.read("Identification.Attribute.CurrentDate"), Value{conv::UnixTime{1767225602}});
    ASSERT_TRUE(device.set("PrivateAction.SetDate", Value{conv::UnixTime{1900000000}}));
    device.run(3);
    EXPECT_EQ(device.model.read("Identification.Attribute.CurrentDate"), Value{conv::UnixTime{1900000003}});
    EXPECT_EQ(device.model.now(), conv::UnixTime{1767225605});
    EXPECT_FALSE(device.set("PrivateAction.SetDate", Value{3.0F}));
}

TEST(EnergyTest, DayMonthAndYearBeginTogetherAtNewYear) {
    SimulatedClock clock{conv::UnixTime{1798761599}}; // 2026-12-31 23:59:59
    const PeriodStarts starts = clock.advance(1s);
    EXPECT_TRUE(starts.quarter && starts.day && starts.month && starts.year);
    const PeriodStarts later = clock.advance(15min);
    EXPECT_TRUE(later.quarter);
    EXPECT_FALSE(later.day || later.month || later.year);
}

TEST(EnergyTest, StepWithoutTimeMovesNothing) {
    ShippedDevice device{"pdu-42"};
    device.mains(MainsState::Lost);
    device.model.step(0ms);
    device.model.step(-5ms);
    EXPECT_EQ(device.model.now(), conv::UnixTime{1767225600});
    EXPECT_TRUE(device.flag("Outlets.1.Status.Supply"));
}

TEST(EnergyTest, RippleMovesMainsAndLoadsWithinItsShare) {
    auto description = readDeviceFile(deviceFile("ats"));
    description.ripple = 2;
    Model model{description, 5};
    bool moved = false;
    for (int step = 0; step < 50; ++step) {
        model.step(100ms);
        const float watts = model.read("Outputs.1.Measure.ActivePower").get<float>();
        ASSERT_NEAR(watts, 900, 18.01);
        moved = moved || watts != 900;
    }
    EXPECT_TRUE(moved);
}

} // namespace velk::simulator
