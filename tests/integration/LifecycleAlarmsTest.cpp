#include "tests/integration/LifecycleFixture.h"

namespace velk::testing {
namespace {

using namespace velk::powerdistribution;

class LifecycleAlarmsTest : public LifecycleFixture {
protected:
    std::size_t triggersOf(const std::string& path) {
        return store->channel(path).alarmConfig.triggers.size();
    }
};

TEST_F(LifecycleAlarmsTest, AlarmsOfTheFileReachWhatTheDeviceServesAndNothingDerived) {
    std::ofstream{directory / "alarms.json"} << R"({"alarms": {
        "Status.Mode": {"triggers": [
            {"type": "value", "value": 3, "severity": "warning", "code": "battery", "message": "On battery"}]},
        "PowerDistribution.Status.OperatingStatus": {"triggers": [
            {"type": "value", "value": 5, "severity": "warning", "code": "stopped", "message": "Stopped"}]}}})";
    device->factory->add({EPrivate::AlarmConfigurationFile}, Value{(directory / "alarms.json").string()});
    start();
    ASSERT_TRUE(output.awaitState("MONITOR")) << failure;
    EXPECT_TRUE(store->await("PowerDistribution.Status.OperatingStatus", qz::CValue{std::uint32_t{16}}));
    EXPECT_EQ(triggersOf("PowerDistribution.Status.Mode"), 1U);
    EXPECT_EQ(triggersOf("PowerDistribution.Status.OperatingStatus"), 0U);
}

} // namespace
} // namespace velk::testing
