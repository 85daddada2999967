#include "tests/platform/tessapi/StoreTest.h"

#include <set>
#include <stdexcept>

namespace tessapi::contract {
namespace {

/// What the store answers about things that it does not have.
class StoreUnknownTest : public StoreTest {
protected:
    static constexpr std::uint64_t NO_DEVICE = 987654321;
    static constexpr std::uint64_t NO_CHANNEL = 987654321;

    std::size_t deviceCount() { return client().browser().snapshot().devices.size(); }
};

VELK_TEST_EVERY_ENGINE(StoreUnknownTest);

TEST_P(StoreUnknownTest, TheIdentifierOfAnUnknownUuidIsAllOnes) {
    EXPECT_EQ(client().store().deviceIdOf(uuidFor("nobody")), UNKNOWN_ID);
}

TEST_P(StoreUnknownTest, TheIdentifierOfTheNilUuidIsAllOnes) {
    EXPECT_EQ(client().store().deviceIdOf(velk::common::Uuid::NIL), UNKNOWN_ID);
}

TEST_P(StoreUnknownTest, TheUuidOfAnUnknownIdentifierIsNil) {
    EXPECT_TRUE(client().store().uuidOf(NO_DEVICE).isNil());
    EXPECT_TRUE(client().store().uuidOf(0).isNil());
    EXPECT_TRUE(client().store().uuidOf(UNKNOWN_ID).isNil());
}

TEST_P(StoreUnknownTest, ADeviceUnderAnUnknownParentIsNotMade) {
    const std::size_t before = deviceCount();
    for (const std::uint64_t parent : {NO_DEVICE, std::uint64_t{0}, UNKNOWN_ID}) {
        EXPECT_EQ(client().store().emplaceDevice(uuidFor("orphan"), parent, 0), UNKNOWN_ID);
        EXPECT_EQ(client().store().emplaceDevice(uuidFor("orphan"), parent, 20), UNKNOWN_ID);
    }
    EXPECT_EQ(client().store().deviceIdOf(uuidFor("orphan")), UNKNOWN_ID);
    EXPECT_EQ(deviceCount(), before);
}

TEST_P(StoreUnknownTest, AnUnknownParentLeavesTheHolderOfTheWantedSeatAlone) {
    const std::uint64_t holder = client().device("holder", ROOT, 20);
    EXPECT_EQ(client().store().emplaceDevice(uuidFor("orphan"), NO_DEVICE, 20), UNKNOWN_ID);
    EXPECT_EQ(client().store().uuidOf(holder), uuidFor("holder"));
}

TEST_P(StoreUnknownTest, ADeviceWithTheNilUuidIsNotMade) {
    const std::size_t before = deviceCount();
    EXPECT_EQ(client().store().emplaceDevice(velk::common::Uuid::NIL, ROOT, 0), UNKNOWN_ID);
    EXPECT_EQ(client().store().emplaceDevice(velk::common::Uuid::NIL, ROOT, 30), UNKNOWN_ID);
    EXPECT_EQ(deviceCount(), before);
}

TEST_P(StoreUnknownTest, AChannelOfAnUnknownDeviceIsNotMade) {
    EXPECT_EQ(client().channel(NO_DEVICE, names::FLOAT32), UNKNOWN_ID);
    EXPECT_EQ(client().channel(UNKNOWN_ID, names::FLOAT32), UNKNOWN_ID);
    EXPECT_TRUE(client().browser().snapshot().channels.empty());
}

TEST_P(StoreUnknownTest, TheIdentifierOfAnUnknownChannelNameIsAllOnes) {
    EXPECT_EQ(client().channels().getCatchedChannelId(ROOT, names::FLOAT32), UNKNOWN_ID);
    EXPECT_EQ(client().channels().getCatchedChannelId(NO_DEVICE, names::FLOAT32), UNKNOWN_ID);
}

TEST_P(StoreUnknownTest, TheDataTypeOfAnUnknownChannelIs255) {
    const qz::datatype type = client().channels().getChannelDataType(UNKNOWN_ID);
    EXPECT_EQ(static_cast<std::uint32_t>(type), 255u);
    EXPECT_EQ(qz::to_string(type), "unknown (255)");
    EXPECT_EQ(client().channels().getChannelDataType(NO_CHANNEL), qz::datatype::unknown);
}

TEST_P(StoreUnknownTest, AnUnknownChannelIsNotInitialised) {
    EXPECT_FALSE(client().channels().isChannelValueInitialized(NO_CHANNEL));
    EXPECT_FALSE(client().channels().isChannelValueInitialized(UNKNOWN_ID));
}

TEST_P(StoreUnknownTest, TheValueOfAnUnknownChannelIsInvalid) {
    EXPECT_FALSE(client().channels().getChannelCValue(NO_CHANNEL).isValid());
    EXPECT_FALSE(client().channels().getChannelCValue(UNKNOWN_ID).isValid());
}

TEST_P(StoreUnknownTest, AnAttributeOfAnUnknownDeviceIsEmpty) {
    EXPECT_EQ(client().channels().getDeviceAttribute(NO_DEVICE, DeviceAttribute::model), "");
    EXPECT_EQ(client().channels().getDeviceAttribute(UNKNOWN_ID, DeviceAttribute::model), "");
}

TEST_P(StoreUnknownTest, AnUnknownAttributeIsEmpty) {
    EXPECT_EQ(client().channels().getDeviceAttribute(ROOT, DeviceAttribute::unused), "");
    EXPECT_EQ(client().channels().getDeviceAttribute(ROOT, DeviceAttribute{4000000000}), "");
    EXPECT_EQ(
        client().channels().getDeviceAttribute(client().channels().getDevice(ROOT), DeviceAttribute::unused),
        "");
}

TEST_P(StoreUnknownTest, AnUnknownDeviceHasTheAllOnesIdentifierAndANilUuid) {
    const qz::CDevice device = client().channels().getDevice(NO_DEVICE);
    EXPECT_EQ(device.id, UNKNOWN_ID);
    EXPECT_TRUE(device.uuid.isNil());
    EXPECT_EQ(client().channels().getDeviceAttribute(device, DeviceAttribute::model), "");
}

TEST_P(StoreUnknownTest, SettingAnAttributeOfSomethingUnknownDoesNothing) {
    client().channels().setDeviceAttribute(NO_DEVICE, DeviceAttribute::model, "text");
    client().channels().setDeviceAttribute(UNKNOWN_ID, DeviceAttribute::model, "text");
    client().channels().setDeviceAttribute(ROOT, DeviceAttribute::unused, "text");
    EXPECT_EQ(client().channels().getDeviceAttribute(NO_DEVICE, DeviceAttribute::model), "");
    for (const std::string& attribute : client().channels().getDevice(ROOT).attributes) {
        EXPECT_EQ(attribute, "");
    }
}

TEST_P(StoreUnknownTest, ConfiguringAnUnknownChannelDoesNothing) {
    client().setAlarms(NO_CHANNEL, {qz::CAlarmTrigger{}});
    client().setAlarms(UNKNOWN_ID, {qz::CAlarmTrigger{}});
    qz::CMultistateMap states;
    states.add(qz::CValue{1u}, "one");
    client().channels().setChannelMultistateMap(NO_CHANNEL, states);
    client().channels().setChannelMultistateMap(UNKNOWN_ID, states);
    EXPECT_TRUE(client().browser().snapshot().channels.empty());
}

TEST_P(StoreUnknownTest, CleaningUpAnUnknownDeviceDoesNothing) {
    const std::uint64_t device = client().device("stays");
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    client().store().removeAllSubDevicesExcept(NO_DEVICE, {}, 100);
    client().store().removeAllSubDevicesExcept(UNKNOWN_ID, {}, 100);
    client().channels().removeAllChannelsExcept(NO_DEVICE, {});
    client().channels().removeAllChannelsExcept(UNKNOWN_ID, {});
    EXPECT_EQ(client().store().deviceIdOf(uuidFor("stays")), device);
    EXPECT_EQ(client().channels().getCatchedChannelId(device, names::FLOAT32), channel);
}

TEST_P(StoreUnknownTest, EndingAnUnknownSubscriptionDoesNothing) {
    const std::uint64_t channel = client().channel(ROOT, names::UINT32);
    const auto writes = client().watch({channel});
    client().channels().unsubscribe(0);
    client().channels().unsubscribe(UNKNOWN_ID);
    client().channels().unsubscribe(123456789);
    client().set(channel, 1u);
    EXPECT_EQ(writes.waitFor(1).size(), 1u);
}

TEST_P(StoreUnknownTest, AnUnknownDeviceHasNoMostCriticalAlarm) {
    EXPECT_EQ(client().alarms().getMostCritical(NO_DEVICE), nullptr);
    EXPECT_EQ(client().alarms().getMostCritical(UNKNOWN_ID), nullptr);
}

TEST_P(StoreUnknownTest, ASubscriptionOnSomethingUnknownIsValidAndNeverFires) {
    std::uint64_t onChannel{0};
    std::uint64_t onNothing{0};
    std::uint64_t onDevice{0};
    std::uint64_t onAlarms{0};
    const auto writes = client().watch({NO_CHANNEL, UNKNOWN_ID}, qz::sub::everyWrite, &onChannel);
    const auto changes = client().watch({}, qz::sub::changes, &onNothing);
    const auto attributes = client().watchDevice(NO_DEVICE, &onDevice);
    const auto alarms = client().watchAlarms(NO_DEVICE, &onAlarms);
    const std::set<std::uint64_t> all{onChannel, onNothing, onDevice, onAlarms};
    EXPECT_EQ(all.size(), 4u);
    EXPECT_EQ(all.count(0), 0u);
    client().set(client().channel(ROOT, names::UINT32), 1u);
    client().settle();
    EXPECT_TRUE(writes.all().empty());
    EXPECT_TRUE(changes.all().empty());
    EXPECT_TRUE(attributes.all().empty());
    EXPECT_TRUE(alarms.all().empty());
    for (const std::uint64_t subscription : all) {
        client().channels().unsubscribe(subscription);
    }
}

TEST_P(StoreUnknownTest, AKnownChannelOfASubscriptionFiresBesideAnUnknownOne) {
    const std::uint64_t channel = client().channel(ROOT, names::UINT32);
    const auto writes = client().watch({NO_CHANNEL, channel});
    client().set(channel, 7u);
    EXPECT_EQ(writes.waitFor(1), (std::vector<Write>{{channel, qz::CValue{7u}}}));
}

TEST_P(StoreUnknownTest, SettingAnUnknownChannelIsARuntimeErrorThatNamesIt) {
    try {
        client().set(NO_CHANNEL, 1u);
        FAIL() << "nothing thrown";
    } catch (const std::runtime_error& failure) {
        EXPECT_NE(std::string{failure.what()}.find(std::to_string(NO_CHANNEL)), std::string::npos)
            << failure.what();
    }
    EXPECT_THROW(client().set(UNKNOWN_ID, 1u), std::runtime_error);
}

} // namespace
} // namespace tessapi::contract
