#include "tests/platform/tessapi/StoreTest.h"

#include <algorithm>
#include <stdexcept>

namespace tessapi::contract {
namespace {

using qz::CValue;

/// The end of subscriptions, and callbacks that throw.
class StoreUnsubscribeTest : public StoreTest {
protected:
    void SetUp() override {
        device = client().device("device");
        channel = client().channel(device, names::UINT32);
    }

    std::uint64_t device{UNKNOWN_ID};
    std::uint64_t channel{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreUnsubscribeTest);

TEST_P(StoreUnsubscribeTest, NoCallStartsAfterTheEnd) {
    std::uint64_t onWrites{0};
    std::uint64_t onChanges{0};
    std::uint64_t onAttributes{0};
    std::uint64_t onAlarms{0};
    std::uint64_t onAll{0};
    const auto writes = client().watch({channel}, qz::sub::everyWrite, &onWrites);
    const auto changes = client().watch({channel}, qz::sub::changes, &onChanges);
    const auto attributes = client().watchDevice(device, &onAttributes);
    const auto alarms = client().watchAlarms(device, &onAlarms);
    const auto all = client().watchAll(&onAll);
    for (const std::uint64_t subscription : {onWrites, onChanges, onAttributes, onAlarms, onAll}) {
        EXPECT_NE(subscription, 0u);
        client().channels().unsubscribe(subscription);
    }
    client().setAlarms(channel, {{LevelAlarm::warning, 3, CValue{1u}, {}, -1, "", {}, 0}});
    client().set(channel, 1u);
    client().channels().setDeviceAttribute(device, DeviceAttribute::model, "text");
    client().settle();
    EXPECT_TRUE(writes.all().empty());
    EXPECT_TRUE(changes.all().empty());
    EXPECT_TRUE(attributes.all().empty());
    EXPECT_TRUE(alarms.all().empty());
    EXPECT_TRUE(all.all().empty());
}

TEST_P(StoreUnsubscribeTest, AWriteThatWasNotDeliveredBeforeTheEndIsNotDelivered) {
    std::uint64_t subscription{0};
    const auto writes = client().watch({channel}, qz::sub::everyWrite, &subscription);
    const Gate gate = client().block();
    client().set(channel, 1u);
    client().channels().unsubscribe(subscription);
    gate.open();
    client().settle();
    EXPECT_TRUE(writes.all().empty());
}

TEST_P(StoreUnsubscribeTest, OtherSubscriptionsGoOn) {
    std::uint64_t subscription{0};
    const auto ended = client().watch({channel}, qz::sub::everyWrite, &subscription);
    const auto kept = client().watch({channel});
    client().channels().unsubscribe(subscription);
    client().channels().unsubscribe(subscription);
    client().set(channel, 1u);
    EXPECT_EQ(valuesOf(kept.waitFor(1)), (std::vector<CValue>{CValue{1u}}));
    EXPECT_TRUE(ended.all().empty());
}

TEST_P(StoreUnsubscribeTest, DoesNotWaitForARunningCall) {
    const Gate gate;
    const Recorder<Write> calls;
    std::uint64_t subscription{0};
    client().channels().subscribeMultipleChannels(
        {channel},
        [gate, calls](std::uint64_t id, const CValue& value) {
            gate.pass();
            calls.add({id, value});
        },
        qz::sub::everyWrite, &subscription);
    client().set(channel, 1u);
    client().set(channel, 2u);
    ASSERT_TRUE(gate.awaitArrival());
    client().channels().unsubscribe(subscription);
    EXPECT_TRUE(calls.all().empty()) << "the call is still held";
    gate.open();
    client().settle();
    EXPECT_EQ(valuesOf(calls.all()), (std::vector<CValue>{CValue{1u}}));
}

TEST_P(StoreUnsubscribeTest, ACallbackMayEndItsOwnSubscription) {
    const Recorder<Write> calls;
    // The identifier is there before the first call.
    const auto subscription = std::make_shared<std::uint64_t>(0);
    client().channels().subscribeMultipleChannels(
        {channel},
        [this, calls, subscription](std::uint64_t id, const CValue& value) {
            calls.add({id, value});
            client().channels().unsubscribe(*subscription);
        },
        qz::sub::everyWrite, subscription.get());
    const Gate gate = client().block();
    client().set(channel, 1u);
    client().set(channel, 2u);
    gate.open();
    client().settle();
    EXPECT_EQ(valuesOf(calls.all()), (std::vector<CValue>{CValue{1u}}));
}

TEST_P(StoreUnsubscribeTest, ACallbackMayEndAnotherSubscriptionOfTheSameWrite) {
    const Recorder<Write> calls;
    const auto first = std::make_shared<std::uint64_t>(0);
    const auto second = std::make_shared<std::uint64_t>(0);
    const auto endOther = [this, calls](std::shared_ptr<std::uint64_t> other) {
        return [this, calls, other](std::uint64_t id, const CValue& value) {
            calls.add({id, value});
            client().channels().unsubscribe(*other);
        };
    };
    client().channels().subscribeMultipleChannels({channel}, endOther(second), qz::sub::everyWrite,
                                                  first.get());
    client().channels().subscribeMultipleChannels({channel}, endOther(first), qz::sub::everyWrite,
                                                  second.get());
    client().set(channel, 1u);
    client().settle();
    EXPECT_EQ(calls.all().size(), 1u);
}

TEST_P(StoreUnsubscribeTest, IdentifiersAreNeverGivenTwice) {
    std::uint64_t before{0};
    client().watch({channel}, qz::sub::everyWrite, &before);
    client().channels().unsubscribe(before);
    std::uint64_t after{0};
    const auto writes = client().watch({channel}, qz::sub::everyWrite, &after);
    EXPECT_NE(after, before);
    client().channels().unsubscribe(before);
    client().set(channel, 1u);
    EXPECT_EQ(writes.waitFor(1).size(), 1u);
}

TEST_P(StoreUnsubscribeTest, ACallbackThatThrowsIsReportedInOneLineAndStays) {
    const Recorder<Write> calls;
    client().channels().subscribeMultipleChannels(
        {channel},
        [calls](std::uint64_t id, const CValue& value) {
            calls.add({id, value});
            throw std::runtime_error{"no paper in the printer"};
        },
        qz::sub::everyWrite, nullptr);
    ::testing::internal::CaptureStderr();
    client().set(channel, 1u);
    client().set(channel, 2u);
    client().settle();
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(calls.all().size(), 2u);
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 2) << said;
    const std::size_t once = said.find("no paper in the printer");
    ASSERT_NE(once, std::string::npos) << said;
    EXPECT_NE(said.find("no paper in the printer", once + 1), std::string::npos) << said;
}

TEST_P(StoreUnsubscribeTest, EveryKindOfCallbackMayThrowAnything) {
    client().channels().subscribeMultipleChannels(
        {channel}, [](std::uint64_t, const CValue&) { throw 42; }, qz::sub::changes, nullptr);
    client().channels().subscribeDevice(
        device, [](std::uint64_t) { throw 43; }, qz::sub::attributes, false, nullptr);
    client().channels().subscribeDeviceAlarms(
        device, [](const qz::CAlarmUpdate&) { throw 44; }, nullptr);
    const auto writes = client().watch({channel});
    client().setAlarms(channel, {{LevelAlarm::warning, 3, CValue{1u}, {}, -1, "", {}, 0}});
    ::testing::internal::CaptureStderr();
    client().channels().setDeviceAttribute(device, DeviceAttribute::model, "text");
    client().set(channel, 1u);
    client().settle();
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 3) << said;
    EXPECT_EQ(writes.all().size(), 1u);
}

} // namespace
} // namespace tessapi::contract
