#include "platform/common/UnexpectedIndex.h"
#include "powerdistribution/alarms/AlarmProxyWrapperFactory.h"
#include "powerdistribution/alarms/AlarmValueWrapper.h"
#include "powerdistribution/alarms/ReferenceWrappers.h"
#include "powerdistribution/core/PowerDistributionError.h"
#include "testing/FakeWrapperFactory.h"
#include "tests/alarms/AlarmFile.h"

#include <gtest/gtest.h>

namespace velk::powerdistribution::protocols {
namespace {

using testing::AlarmFile;
using testing::FakePoint;
using testing::FakeWrapper;
using testing::FakeWrapperFactory;

const EPath alarmFilePath{EPrivate::AlarmConfigurationFile};
const EPath runtime{ECircuit::BackupSystem, EMeasurement::RemainingTime};
const EPath runtimeThreshold{ECircuit::BackupSystem, ESetting::LowRuntimeThreshold};
const std::string thresholdText = "Setting.LowRuntimeThreshold";

Trigger referring(Trigger::Type type, const std::string& reference = thresholdText) {
    Trigger trigger;
    trigger.type = type;
    trigger.reference = reference;
    return trigger;
}

std::string alarmFileFor(const std::string& key, const std::string& trigger) {
    return R"({"alarms": {")" + key + R"(": {"triggers": [)" + trigger + R"(]}}})";
}

/// A device whose runtime has one trigger that refers to the setting beside it.
class ReferenceTest : public ::testing::Test {
protected:
    Value thresholdFor(Trigger::Type type) {
        const AlarmConfig config{{referring(type)}};
        const AlarmValueWrapper wrapper{FakeWrapper::of(Value{1u}), config,
                                        buildRefWrapperMap(runtime, config, device)};
        return wrapper.dataConfig().alarmConfig.value().triggers.at(0).threshold1;
    }

    FakeWrapperFactory device;
};

// Which factory the device gets.

TEST(BuildAlarmProxyWrapperFactoryTest, ADeviceWithoutAlarmFileKeepsItsFactory) {
    const auto device = std::make_shared<FakeWrapperFactory>();
    EXPECT_EQ(device, buildAlarmProxyWrapperFactory(device));
    EXPECT_EQ(std::vector<std::string>{"Private.AlarmConfigurationFile"}, device->asked());
}

TEST(BuildAlarmProxyWrapperFactoryTest, AnAlarmFileThatIsNoTextOrEmptyKeepsTheFactory) {
    const auto device = std::make_shared<FakeWrapperFactory>();
    FakePoint& file = device->add(alarmFilePath, Value{7u});
    EXPECT_EQ(device, buildAlarmProxyWrapperFactory(device));
    file.setValue({});
    EXPECT_EQ(device, buildAlarmProxyWrapperFactory(device));
    file.setValue(std::string{});
    EXPECT_EQ(device, buildAlarmProxyWrapperFactory(device));
}

TEST(BuildAlarmProxyWrapperFactoryTest, AFailureOfTheParserAbortsTheBuild) {
    const AlarmFile file{AlarmFile::withTrigger(R"("type": "above")")};
    const auto device = std::make_shared<FakeWrapperFactory>();
    device->add(alarmFilePath, Value{file.path()});
    EXPECT_THROW(buildAlarmProxyWrapperFactory(device), PowerDistributionError);
}

TEST(BuildAlarmProxyWrapperFactoryTest, AnAlarmFileDecoratesTheFactory) {
    const AlarmFile file{AlarmFile::withTrigger(R"("type": "value", "value": true, "message": "m")")};
    const auto device = std::make_shared<FakeWrapperFactory>(velk::common::Uuid::VELK_NAMESPACE);
    device->add(alarmFilePath, Value{file.path()});
    device->add({EStatus::LowRuntime}, Value{false});
    const auto factory = buildAlarmProxyWrapperFactory(device);
    EXPECT_NE(device, factory);
    EXPECT_EQ(velk::common::Uuid::VELK_NAMESPACE, factory->protocolUuid());
    const auto config = factory->buildWrapper({EStatus::LowRuntime})->dataConfig().alarmConfig;
    ASSERT_TRUE(config.has_value());
    EXPECT_EQ(Value{true}, config->triggers.at(0).threshold1);
}

// Which wrapper a path gets.

TEST(AlarmProxyWrapperFactoryTest, APathThatTheProtocolDoesNotServeStaysNull) {
    const AlarmFile file{AlarmFile::withTrigger(R"("type": "value", "value": true, "message": "m")")};
    const AlarmProxyWrapperFactory factory{std::make_shared<FakeWrapperFactory>(), file.path()};
    EXPECT_EQ(nullptr, factory.buildWrapper({EStatus::LowRuntime}));
}

TEST(AlarmProxyWrapperFactoryTest, APathThatTheFileDoesNotNameKeepsItsWrapper) {
    const AlarmFile file{"{}"};
    const auto device = std::make_shared<FakeWrapperFactory>();
    device->add({EStatus::LowRuntime}, Value{false});
    const AlarmProxyWrapperFactory factory{device, file.path()};
    const auto wrapper = factory.buildWrapper({EStatus::LowRuntime});
    EXPECT_NE(nullptr, dynamic_cast<FakeWrapper*>(wrapper.get()));
}

TEST(AlarmProxyWrapperFactoryTest, AFixedThresholdAsksForNoSetting) {
    const AlarmFile file{
        alarmFileFor(runtime.nodesToString(), R"({"type": "lower", "value": 60, "message": "m"})")};
    const auto device = std::make_shared<FakeWrapperFactory>();
    device->add(runtime, Value{600u});
    const AlarmProxyWrapperFactory factory{device, file.path()};
    factory.buildWrapper(runtime);
    EXPECT_EQ(std::vector<std::string>{runtime.nodesToString()}, device->asked());
}

TEST(AlarmProxyWrapperFactoryTest, AReferenceFollowsTheSettingBesideTheDataPoint) {
    const AlarmFile file{alarmFileFor(runtime.nodesToString(),
                                      R"({"type": "value", "reference": "Setting.LowRuntimeThreshold",
                                          "message": "m"})")};
    const auto device = std::make_shared<FakeWrapperFactory>();
    device->add(runtime, Value{600u});
    FakePoint& setting = device->add(runtimeThreshold, Value{120u});
    const AlarmProxyWrapperFactory factory{device, file.path()};
    const auto wrapper = factory.buildWrapper(runtime);
    EXPECT_EQ(Value{120u}, wrapper->dataConfig().alarmConfig->triggers.at(0).threshold1);
    setting.setValue(Value{180u});
    EXPECT_EQ(Value{180u}, wrapper->dataConfig().alarmConfig->triggers.at(0).threshold1);
}

TEST(AlarmProxyWrapperFactoryTest, ADataPointWithoutParentLeavesItsReferenceUnresolved) {
    const AlarmFile file{AlarmFile::withTrigger(
        R"("type": "lower", "reference": "Setting.LowRuntimeThreshold", "message": "m")")};
    const auto device = std::make_shared<FakeWrapperFactory>();
    device->add({EStatus::LowRuntime}, Value{false});
    device->add({ESetting::LowRuntimeThreshold}, Value{10.0f});
    const AlarmProxyWrapperFactory factory{device, file.path()};
    const auto wrapper = factory.buildWrapper({EStatus::LowRuntime});
    ASSERT_NE(nullptr, dynamic_cast<AlarmValueWrapper*>(wrapper.get()));
    EXPECT_FALSE(wrapper->dataConfig().alarmConfig->triggers.at(0).threshold1.hasValue());
    EXPECT_EQ(0u, device->askedFor({ESetting::LowRuntimeThreshold}));
}

// The map of references.

TEST_F(ReferenceTest, AReferenceThatIsNoSettingIsLeftOut) {
    const AlarmConfig config{{referring(Trigger::Type::value, "Setting.NoSuchThing"),
                              referring(Trigger::Type::value, "setting.lowruntimethreshold"), Trigger{}}};
    EXPECT_TRUE(buildRefWrapperMap(runtime, config, device).empty());
    EXPECT_TRUE(device.asked().empty());
}

TEST_F(ReferenceTest, TheMapIsKeyedByTheSettingAndKeepsOneThatIsNotServed) {
    const AlarmConfig config{{referring(Trigger::Type::value)}};
    const ReferenceWrappers references = buildRefWrapperMap(runtime, config, device);
    ASSERT_EQ(1u, references.size());
    EXPECT_EQ("Setting.LowRuntimeThreshold", references.begin()->first.nodesToString());
    EXPECT_EQ(nullptr, references.begin()->second);
    EXPECT_EQ(std::vector<std::string>{"BackupSystem.Setting.LowRuntimeThreshold"}, device.asked());
}

TEST_F(ReferenceTest, AConfigurationThatIsNotThereHasNoReferences) {
    EXPECT_TRUE(buildRefWrapperMap(runtime, std::nullopt, device).empty());
}

TEST_F(ReferenceTest, TwoTriggersWithOneReferenceShareItsWrapper) {
    device.add(runtimeThreshold, Value{5u});
    const AlarmConfig config{{referring(Trigger::Type::value), referring(Trigger::Type::none)}};
    auto references = buildRefWrapperMap(runtime, config, device);
    EXPECT_EQ(1u, references.size());
    EXPECT_EQ(1u, device.askedFor(runtimeThreshold));
    const AlarmValueWrapper wrapper{FakeWrapper::of(Value{1u}), config, std::move(references)};
    const DataConfig resolved = wrapper.dataConfig();
    EXPECT_EQ(Value{5u}, resolved.alarmConfig->triggers.at(0).threshold1);
    EXPECT_EQ(Value{5u}, resolved.alarmConfig->triggers.at(1).threshold1);
}

TEST(FindByStringTest, EverySettingIsFoundByItsText) {
    for (std::uint32_t number = 1; number <= 45; ++number) {
        const EPath path{static_cast<ESetting>(number)};
        EXPECT_EQ(path.nodesToString(), findByString<ESetting>(path.nodesToString()).nodesToString());
    }
}

TEST(FindByStringTest, OtherTextsGiveTheEmptyPath) {
    for (const char* text : {"", "Null", "Setting.NoSuchThing", "SETTING.TEMPERATURE", "Status.Mode"}) {
        EXPECT_TRUE(findByString<ESetting>(text).empty()) << text;
    }
}

// The thresholds that references resolve to.

TEST_F(ReferenceTest, ALowerTriggerLiesOneEpsilonBelowItsSetting) {
    device.add(runtimeThreshold, Value{1.0f});
    EXPECT_EQ(Value{1.0f - 1.1920929e-07f}, thresholdFor(Trigger::Type::lower));
}

TEST_F(ReferenceTest, AnUpperTriggerLiesOneEpsilonAboveItsSetting) {
    device.add(runtimeThreshold, Value{1.0f});
    const Value threshold = thresholdFor(Trigger::Type::upper);
    EXPECT_EQ(Value{1.0f + 1.1920929e-07f}, threshold);
    EXPECT_GT(threshold.get<float>(), 1.0f);
}

TEST_F(ReferenceTest, TheEpsilonIsPlainSinglePrecisionAndVanishesBesideTen) {
    device.add(runtimeThreshold, Value{10.0f});
    EXPECT_EQ(Value{10.0f}, thresholdFor(Trigger::Type::upper));
    EXPECT_EQ(Value{10.0f}, thresholdFor(Trigger::Type::lower));
}

TEST_F(ReferenceTest, AValueTriggerTakesItsSettingAsItIs) {
    FakePoint& setting = device.add(runtimeThreshold, Value{std::string{"eco"}});
    EXPECT_EQ(Value{std::string{"eco"}}, thresholdFor(Trigger::Type::value));
    setting.setValue({});
    EXPECT_FALSE(thresholdFor(Trigger::Type::value).hasValue());
}

TEST_F(ReferenceTest, ALowerOrUpperTriggerNeedsAFloat) {
    FakePoint& setting = device.add(runtimeThreshold, Value{10u});
    EXPECT_THROW(thresholdFor(Trigger::Type::lower), velk::common::UnexpectedIndex);
    setting.setValue({});
    try {
        thresholdFor(Trigger::Type::upper);
        FAIL() << "resolved";
    } catch (const std::bad_variant_access& failure) {
        EXPECT_STREQ("Unexpected index", failure.what());
    }
}

TEST_F(ReferenceTest, ASettingThatIsNotServedLeavesTheThresholdEmpty) {
    EXPECT_FALSE(thresholdFor(Trigger::Type::upper).hasValue());
}

// What else the wrapper does.

TEST(AlarmValueWrapperTest, PassesEverythingButTheConfigurationOn) {
    const auto point = std::make_shared<FakePoint>(Value{1u});
    point->setDataConfig({AlarmConfig{{Trigger{}, Trigger{}}}, true, true});
    AlarmValueWrapper wrapper{FakeWrapper::on(point), AlarmConfig{}, {}};
    EXPECT_EQ(Value{1u}, wrapper.read());
    EXPECT_TRUE(wrapper.write(Value{2u}));
    EXPECT_EQ(std::vector<Value>{Value{2u}}, point->written());
    point->refuseWrites(true);
    EXPECT_FALSE(wrapper.write(Value{3u}));
    point->setReadable(false);
    EXPECT_FALSE(wrapper.isReadable());
    EXPECT_TRUE(wrapper.isWritable());
    point->setWritable(false);
    EXPECT_FALSE(wrapper.isWritable());
    const DataConfig config = wrapper.dataConfig();
    EXPECT_TRUE(config.alarmConfig->triggers.empty());
    EXPECT_FALSE(config.channelOption);
    EXPECT_FALSE(config.alarmConfigChanged);
}

TEST(AlarmValueWrapperTest, WithoutConfigurationItsResultIsAllEmpty) {
    const AlarmValueWrapper wrapper{FakeWrapper::of({}), std::nullopt, {}};
    EXPECT_FALSE(wrapper.dataConfig().alarmConfig.has_value());
}

} // namespace
} // namespace velk::powerdistribution::protocols
