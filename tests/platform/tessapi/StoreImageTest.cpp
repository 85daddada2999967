#include "platform/tessapi/StoreImage.h"

#include "testing/SameImage.h"
#include "tests/platform/tessapi/StoreTest.h"

#include <boost/system/system_error.hpp>

namespace tessapi::contract {
namespace {

using qz::CValue;
using velk::testing::expectSame;

/// The whole store at once, and several values at once.
class StoreImageTest : public StoreTest {
protected:
    /// Another store of the same engine, empty.
    StoreClient& other() {
        if (!second) {
            second.emplace(EngineUnderTest::otherUrl(url()));
        }
        return *second;
    }

    void furnish() {
        device = client().device("device");
        client().device("child", device);
        client().device("seat", ROOT, 20);
        client().channels().setDeviceAttribute(device, DeviceAttribute::path, "Inputs.1");
        voltage = client().channel(device, names::FLOAT32);
        client().setAlarms(voltage, {{LevelAlarm::critical, 1, CValue{240.0f}, {}, 2, "high", {}, 0}});
        client().set(voltage, 250.0f);
        client().channel(device, names::LABELLED);
        client().set(client().channel(device, names::STRING), std::string{"a \"text\"\n"});
        client().browser().recordWrite({0, 1000, "tess", "alice", "path", "1", ""});
    }

    std::optional<StoreClient> second;
    std::uint64_t device{UNKNOWN_ID};
    std::uint64_t voltage{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreImageTest);

TEST_P(StoreImageTest, AStoreFilledFromAnImageHasTheSameImage) {
    furnish();
    const auto image = client().browser().image();
    EXPECT_EQ(image.content.devices.size(), 4u);
    EXPECT_EQ(image.alarmEvents.size(), 1u);
    other().browser().fill(image);
    expectSame(image, other().browser().image());
    EXPECT_EQ(other().alarms().getMostCritical(device)->code, "high");
}

TEST_P(StoreImageTest, IdentifiersThatTheImageHadGivenAreNotGivenAgain) {
    furnish();
    const auto gone = client().device("gone");
    client().store().removeAllSubDevicesExcept(ROOT, {device}, 10);
    other().browser().fill(client().browser().image());
    EXPECT_GT(other().device("new"), gone);
}

TEST_P(StoreImageTest, FillingIsNoWriteAndTellsNobody) {
    furnish();
    const auto told = other().watchAll();
    other().browser().fill(client().browser().image());
    other().settle();
    for (const auto& write : told.all()) {
        EXPECT_NE(write.channel, voltage);
    }
}

TEST_P(StoreImageTest, AStoreWithSomethingInItIsNotFilled) {
    furnish();
    other().device("something");
    const auto before = other().browser().image();
    EXPECT_THROW(other().browser().fill(client().browser().image()), boost::system::system_error);
    expectSame(before, other().browser().image());
}

TEST_P(StoreImageTest, TheNextEventGoesOnWithTheNumbers) {
    furnish();
    other().browser().fill(client().browser().image());
    other().set(voltage, 230.0f);
    const auto events = other().browser().alarmEvents(0, EVERYTHING);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].number, 2);
    EXPECT_FALSE(events[1].raised);
}

TEST_P(StoreImageTest, ValuesOfAGroupAreDeliveredEachInTheOrderOfTheGroup) {
    furnish();
    const auto model = client().channel(device, names::STRING);
    const auto told = client().watch({voltage, model});
    client().channels().setChannelCValues({{model, CValue{std::string{"one"}}},
                                           {voltage, CValue{230.0f}},
                                           {model, CValue{std::string{"two"}}}});
    const std::vector<Write> expected{
        {model, CValue{std::string{"one"}}}, {voltage, CValue{230.0f}}, {model, CValue{std::string{"two"}}}};
    EXPECT_EQ(told.waitFor(3), expected);
}

TEST_P(StoreImageTest, AGroupWithAValueOfAnotherTypeIsNotWrittenAtAll) {
    furnish();
    const auto model = client().channel(device, names::STRING);
    EXPECT_THROW(client().channels().setChannelCValues({{voltage, CValue{1.0f}}, {model, CValue{1U}}}),
                 std::invalid_argument);
    EXPECT_EQ(client().channels().getChannelCValue(voltage), CValue{250.0f});
}

TEST_P(StoreImageTest, AGroupWithAChannelThatIsGoneIsNotWrittenAtAll) {
    furnish();
    EXPECT_THROW(client().channels().setChannelCValues({{voltage, CValue{1.0f}}, {999'999, CValue{1U}}}),
                 std::runtime_error);
    EXPECT_EQ(client().channels().getChannelCValue(voltage), CValue{250.0f});
}

TEST_P(StoreImageTest, AGroupRaisesAndClearsAlarmsValueByValue) {
    furnish();
    client().channels().setChannelCValues({{voltage, CValue{230.0f}}, {voltage, CValue{260.0f}}});
    const auto events = client().browser().alarmEvents(0, EVERYTHING);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_FALSE(events[1].raised);
    EXPECT_TRUE(events[2].raised);
}

TEST_P(StoreImageTest, AnEmptyGroupWritesNothing) {
    furnish();
    const auto told = client().watchAll();
    client().channels().setChannelCValues({});
    client().settle();
    for (const auto& write : told.all()) {
        EXPECT_NE(write.channel, voltage);
    }
}

} // namespace
} // namespace tessapi::contract
