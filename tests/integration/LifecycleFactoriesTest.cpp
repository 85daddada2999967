#include "tests/integration/LifecycleFixture.h"

namespace velk::testing {
namespace {

using namespace velk::powerdistribution;

class LifecycleFactoriesTest : public LifecycleFixture {
protected:
    std::size_t triggersOf(const std::string& path) {
        return store->channel(path).alarmConfig.triggers.size();
    }
};

TEST_F(LifecycleFactoriesTest, AlarmsOfTheFileReachWhatTheDeviceServesAndNothingDerived) {
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

TEST_F(LifecycleFactoriesTest, EveryFactoryThatAModelWasBuiltWithLivesAsLongAsTheManager) {
    /// What a plug-in makes anew at each enumeration.
    class OwnFactory : public protocols::IWrapperFactory {
    public:
        explicit OwnFactory(std::shared_ptr<FakeWrapperFactory> shared) : points{std::move(shared)} {}
        const velk::common::Uuid& protocolUuid() const override { return points->protocolUuid(); }
        protocols::ValueWrapperPtr buildWrapper(const EPath& path) const override {
            return points->buildWrapper(path);
        }

    private:
        std::shared_ptr<FakeWrapperFactory> points;
    };

    std::vector<std::weak_ptr<OwnFactory>> made;
    device->makeFactory = [&] {
        auto factory = std::make_shared<OwnFactory>(device->factory);
        made.push_back(factory);
        return factory;
    };
    const auto loseAndRecover = [&](std::size_t times) {
        link->setValue(Value{std::uint32_t{3}});
        ASSERT_TRUE(runTo("WAIT_COMMUNICATION_RECOVERY", times));
        link->setValue(Value{std::uint32_t{2}});
        ASSERT_TRUE(runTo("MONITOR", times + 1));
    };
    const auto alive = [&] {
        std::string marks;
        for (const auto& factory : made) {
            marks += factory.expired() ? '-' : 'x';
        }
        return marks;
    };
    start();
    EXPECT_TRUE(output.awaitState("MONITOR"));
    loseAndRecover(1);
    EXPECT_EQ(alive(), "xx") << "the model's and the present one";
    loseAndRecover(2);
    EXPECT_EQ(alive(), "x-x") << "no model was built with the second";
    device->factory->point({EProperty::Identification, EAttribute::FirmwareVersion})
        .setValue(Value{std::string{"2.0"}});
    loseAndRecover(3);
    EXPECT_EQ(alive(), "x--x") << "handlers of the first model are still there";
    finish();
    EXPECT_EQ(alive(), "x--x");
    manager.reset();
    EXPECT_EQ(alive(), "----");
    device->makeFactory = {};
}

TEST_F(LifecycleFactoriesTest, WhatIsNoStandardExceptionLeavesExecFromTheInitialisation) {
    /// A device whose mode cannot be asked for.
    class OddFactory : public FakeWrapperFactory {
    public:
        protocols::ValueWrapperPtr buildWrapper(const EPath& path) const override {
            class Odd : public FakeWrapper {
            public:
                using FakeWrapper::FakeWrapper;
                Value read() const override { throw 42; }
            };
            const bool isMode = path == EPath{EStatus::Mode};
            return isMode ? std::make_unique<Odd>(std::make_shared<FakePoint>())
                          : FakeWrapperFactory::buildWrapper(path);
        }
    };

    device->makeFactory = [] { return std::make_shared<OddFactory>(); };
    ::testing::internal::CaptureStderr();
    start();
    runner.join();
    EXPECT_EQ(failure, "no standard exception");
    EXPECT_EQ(output.states(), "DISCOVER ENUMERATE BUILD INITIALIZE");
    manager.reset();
    EXPECT_EQ(device->log->calls().back(), "protocol.destroyed");
    device->makeFactory = {};
    ::testing::internal::GetCapturedStderr();
}

} // namespace
} // namespace velk::testing
