#include "tests/platform/tessapi/StoreTest.h"

namespace tessapi::contract {
namespace {

using qz::CValue;

/// Subscriptions of type 15 (on change) and of type 3 (on attributes).
class StoreChangeSubscriptionTest : public StoreTest {
protected:
    void SetUp() override {
        device = client().device("device");
        channel = client().channel(device, names::UINT32);
    }

    Recorder<Write> watchChanges() { return client().watch({channel}, qz::sub::changes); }

    std::uint64_t device{UNKNOWN_ID};
    std::uint64_t channel{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreChangeSubscriptionTest);

TEST_P(StoreChangeSubscriptionTest, TheFirstValueOfAChannelIsAChange) {
    const auto changes = watchChanges();
    client().set(channel, 0u);
    EXPECT_EQ(changes.waitFor(1), (std::vector<Write>{{channel, CValue{0u}}}));
}

TEST_P(StoreChangeSubscriptionTest, NothingIsDeliveredAtSubscription) {
    client().set(channel, 5u);
    const auto changes = watchChanges();
    client().settle();
    EXPECT_TRUE(changes.all().empty());
}

TEST_P(StoreChangeSubscriptionTest, AnUnchangedWriteIsNotDelivered) {
    const auto changes = watchChanges();
    for (const std::uint32_t number : {1u, 1u, 2u, 2u, 2u, 1u}) {
        client().set(channel, number);
        client().settle();
    }
    EXPECT_EQ(valuesOf(changes.all()), (std::vector<CValue>{CValue{1u}, CValue{2u}, CValue{1u}}));
}

TEST_P(StoreChangeSubscriptionTest, TheValueAtSubscriptionIsNoChangeWhenItIsWrittenAgain) {
    client().set(channel, 5u);
    const auto changes = watchChanges();
    client().set(channel, 5u);
    client().settle();
    EXPECT_TRUE(changes.all().empty());
    client().set(channel, 6u);
    EXPECT_EQ(valuesOf(changes.waitFor(1)), (std::vector<CValue>{CValue{6u}}));
}

TEST_P(StoreChangeSubscriptionTest, ChangesWhileTheSubscriberIsBusyComeOnceWithTheLastValue) {
    const auto changes = watchChanges();
    const Gate gate = client().block();
    for (std::uint32_t number = 1; number <= 100; ++number) {
        client().set(channel, number);
    }
    gate.open();
    client().settle();
    EXPECT_EQ(valuesOf(changes.all()), (std::vector<CValue>{CValue{100u}}));
}

TEST_P(StoreChangeSubscriptionTest, AValueThatIsBackAtDeliveryIsNoChange) {
    client().set(channel, 1u);
    const auto changes = watchChanges();
    const Gate gate = client().block();
    client().set(channel, 2u);
    client().set(channel, 1u);
    gate.open();
    client().settle();
    EXPECT_TRUE(changes.all().empty());
}

TEST_P(StoreChangeSubscriptionTest, TheLastDeliveredValueIsWhatCounts) {
    client().set(channel, 1u);
    const auto changes = watchChanges();
    client().set(channel, 2u);
    client().settle();
    const Gate gate = client().block();
    client().set(channel, 1u);
    client().set(channel, 2u);
    gate.open();
    client().settle();
    EXPECT_EQ(valuesOf(changes.all()), (std::vector<CValue>{CValue{2u}}));
}

TEST_P(StoreChangeSubscriptionTest, EverySubscriptionCountsForItself) {
    const auto first = watchChanges();
    client().set(channel, 1u);
    client().settle();
    const auto second = watchChanges();
    client().set(channel, 1u);
    client().set(channel, 2u);
    client().settle();
    EXPECT_EQ(valuesOf(second.all()), (std::vector<CValue>{CValue{2u}}));
    EXPECT_EQ(valuesOf(first.all()), (std::vector<CValue>{CValue{1u}, CValue{2u}}));
}

TEST_P(StoreChangeSubscriptionTest, EachChannelOfASubscriptionCountsForItself) {
    const std::uint64_t second = client().channel(client().device("other"), names::UINT32);
    const auto changes = client().watch({channel, second}, qz::sub::changes);
    client().set(channel, 1u);
    client().settle();
    client().set(second, 1u);
    client().settle();
    client().set(channel, 1u);
    client().settle();
    EXPECT_EQ(changes.all(), (std::vector<Write>{{channel, CValue{1u}}, {second, CValue{1u}}}));
}

TEST_P(StoreChangeSubscriptionTest, ChangesByAnotherClientAreDelivered) {
    const auto changes = watchChanges();
    const auto other = another();
    other->set(channel, 7u);
    EXPECT_EQ(valuesOf(changes.waitFor(1)), (std::vector<CValue>{CValue{7u}}));
}

TEST_P(StoreChangeSubscriptionTest, TextsCompareByTheirContent) {
    const std::uint64_t text = client().channel(device, names::STRING);
    client().set(text, "a");
    const auto changes = client().watch({text}, qz::sub::changes);
    for (const char* next : {"a", "b", "b", ""}) {
        client().set(text, next);
        client().settle();
    }
    EXPECT_EQ(valuesOf(changes.all()), (std::vector<CValue>{CValue{"b"}, CValue{""}}));
}

TEST_P(StoreChangeSubscriptionTest, EveryWriteOfAnAttributeIsTold) {
    const auto told = client().watchDevice(device);
    for (int round = 0; round < 3; ++round) {
        client().channels().setDeviceAttribute(device, DeviceAttribute::model, "the same");
    }
    client().channels().setDeviceAttribute(device, DeviceAttribute{0}, "another");
    client().settle();
    EXPECT_EQ(told.all(), (std::vector<std::uint64_t>(4, device)));
}

TEST_P(StoreChangeSubscriptionTest, AttributesWrittenByAnotherClientAreTold) {
    const auto told = client().watchDevice(device);
    another()->channels().setDeviceAttribute(device, DeviceAttribute::location, "Rack 4");
    EXPECT_EQ(told.waitFor(1), (std::vector<std::uint64_t>{device}));
    EXPECT_EQ(client().channels().getDeviceAttribute(device, DeviceAttribute::location), "Rack 4");
}

TEST_P(StoreChangeSubscriptionTest, AttributesOfOtherDevicesAndValuesAreNotTold) {
    client().channels().setDeviceAttribute(device, DeviceAttribute::model, "before");
    const auto told = client().watchDevice(device);
    client().channels().setDeviceAttribute(ROOT, DeviceAttribute::model, "root");
    client().channels().setDeviceAttribute(client().device("child", device), DeviceAttribute::model, "child");
    client().channels().setDeviceAttribute(device, DeviceAttribute::unused, "nothing");
    client().set(channel, 1u);
    client().settle();
    EXPECT_TRUE(told.all().empty());
}

TEST_P(StoreChangeSubscriptionTest, AttributesAndValuesComeInTheOrderOfTheirWrites) {
    const Recorder<std::string> told;
    client().channels().subscribeDevice(
        device, [told](std::uint64_t) { told.add("attribute"); }, qz::sub::attributes, false, nullptr);
    client().channels().subscribeMultipleChannels(
        {channel}, [told](std::uint64_t, const CValue&) { told.add("value"); }, qz::sub::everyWrite, nullptr);
    const Gate gate = client().block();
    client().channels().setDeviceAttribute(device, DeviceAttribute::model, "1");
    client().set(channel, 2u);
    client().channels().setDeviceAttribute(device, DeviceAttribute::model, "3");
    gate.open();
    EXPECT_EQ(told.waitFor(3), (std::vector<std::string>{"attribute", "value", "attribute"}));
}

} // namespace
} // namespace tessapi::contract
