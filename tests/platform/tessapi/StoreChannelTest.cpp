#include "tests/platform/tessapi/StoreTest.h"

#include <cmath>
#include <limits>
#include <stdexcept>

namespace tessapi::contract {
namespace {

using qz::CValue;

class StoreChannelTest : public StoreTest {
protected:
    void SetUp() override { device = client().device("device"); }

    CValue value(std::uint64_t channel) { return client().channels().getChannelCValue(channel); }

    /// Sets a value and reads it back through another client.
    template <typename T>
    CValue throughTheStore(const std::string& name, T written) {
        const std::uint64_t channel = client().channel(device, name);
        client().set(channel, written);
        return another()->channels().getChannelCValue(channel);
    }

    std::uint64_t device{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreChannelTest);

TEST_P(StoreChannelTest, TheNameChoosesTheType) {
    const std::vector<std::pair<std::string, qz::datatype>> types{
        {names::BOOLEAN, qz::datatype::boolean},
        {names::INT32, qz::datatype::int32},
        {names::UINT32, qz::datatype::uint32},
        {names::FLOAT32, qz::datatype::float32},
        {names::TIMESTAMP, qz::datatype::timestamp},
        {names::STRING, qz::datatype::string},
        {"System.Ethernet.MacAddress", qz::datatype::string},
        {"Something.Else", qz::datatype::string},
    };
    for (const auto& [name, type] : types) {
        EXPECT_EQ(client().channels().getChannelDataType(client().channel(device, name)), type) << name;
    }
}

TEST_P(StoreChannelTest, AChannelIsMadeOnceAndFoundAfterwards) {
    EXPECT_EQ(client().channels().getCatchedChannelId(device, names::FLOAT32), UNKNOWN_ID);
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    EXPECT_NE(channel, UNKNOWN_ID);
    EXPECT_NE(channel, 0u);
    EXPECT_EQ(client().channel(device, names::FLOAT32), channel);
    EXPECT_EQ(client().channels().emplaceChannel(device, names::FLOAT32, true), channel);
    EXPECT_EQ(client().channels().getCatchedChannelId(device, names::FLOAT32), channel);
    const auto other = another();
    EXPECT_EQ(other->channels().getCatchedChannelId(device, names::FLOAT32), channel);
    EXPECT_EQ(other->channel(device, names::FLOAT32), channel);
}

TEST_P(StoreChannelTest, TheSameNameOnTwoDevicesIsTwoChannels) {
    const std::uint64_t here = client().channel(device, names::UINT32);
    const std::uint64_t there = client().channel(client().device("other"), names::UINT32);
    EXPECT_NE(here, there);
    client().set(here, 1u);
    EXPECT_FALSE(client().channels().isChannelValueInitialized(there));
}

TEST_P(StoreChannelTest, HasNoValueAtFirst) {
    const std::uint64_t channel = client().channel(device, names::STRING);
    EXPECT_FALSE(client().channels().isChannelValueInitialized(channel));
    EXPECT_FALSE(value(channel).isValid());
    client().set(channel, "");
    EXPECT_TRUE(client().channels().isChannelValueInitialized(channel));
    EXPECT_EQ(value(channel), CValue{""});
}

TEST_P(StoreChannelTest, AWrittenValueIsReadAtOnceByEveryClient) {
    const std::uint64_t channel = client().channel(device, names::UINT32);
    const auto other = another();
    for (std::uint32_t number = 0; number < 100; ++number) {
        client().set(channel, number);
        ASSERT_EQ(value(channel), CValue{number});
        ASSERT_EQ(other->channels().getChannelCValue(channel), CValue{number});
    }
    EXPECT_TRUE(other->channels().isChannelValueInitialized(channel));
}

TEST_P(StoreChannelTest, ValuesComeBackAsTheyWere) {
    EXPECT_EQ(throughTheStore(names::BOOLEAN, true), CValue{true});
    EXPECT_EQ(throughTheStore(names::BOOLEAN, false), CValue{false});
    for (const std::int32_t number :
         {std::numeric_limits<std::int32_t>::min(), -1, 0, std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(throughTheStore(names::INT32, number), CValue{number});
    }
    for (const std::uint32_t number : {0u, 2147483648u, 4294967295u}) {
        EXPECT_EQ(throughTheStore(names::UINT32, number), CValue{number});
    }
    for (const std::int64_t seconds : {std::int64_t{-1}, std::int64_t{0}, std::int64_t{4294967295}}) {
        EXPECT_EQ(throughTheStore(names::TIMESTAMP, qz::CTimestamp{seconds}),
                  CValue{qz::CTimestamp{seconds}});
    }
}

TEST_P(StoreChannelTest, FloatsComeBackBitForBit) {
    using Limits = std::numeric_limits<float>;
    for (const float number : {0.0f, 0.1f, -230.7f, Limits::max(), Limits::lowest(), Limits::min(),
                               Limits::denorm_min(), Limits::infinity(), -Limits::infinity()}) {
        EXPECT_EQ(throughTheStore(names::FLOAT32, number), CValue{number});
    }
    EXPECT_TRUE(std::signbit(throughTheStore(names::FLOAT32, -0.0f).as_float()));
    EXPECT_TRUE(std::isnan(throughTheStore(names::FLOAT32, Limits::quiet_NaN()).as_float()));
}

TEST_P(StoreChannelTest, TextsComeBackByteForByte) {
    for (const std::string& text : {std::string{""}, std::string{"two\nlines"}, std::string("a\0b", 3),
                                    std::string{"\xC2\xB0"
                                                "C"},
                                    std::string{"'; DROP TABLE channel; --"}, std::string(100000, 'x')}) {
        EXPECT_EQ(throughTheStore(names::STRING, text), CValue{text});
    }
}

TEST_P(StoreChannelTest, AnotherAlternativeThanTheTypeIsRefusedAndTheValueStays) {
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    client().set(channel, 230.0f);
    const std::vector<CValue> others{CValue{true},
                                     CValue{std::int32_t{1}},
                                     CValue{std::int64_t{1}},
                                     CValue{1u},
                                     CValue{std::uint64_t{1}},
                                     CValue{1.0},
                                     CValue{qz::CTimestamp{1}},
                                     CValue{"1"},
                                     CValue{CValue::Bytes{1}},
                                     CValue{}};
    const auto writes = client().watch({channel});
    for (const CValue& other : others) {
        EXPECT_THROW(client().channels().setChannelCValue(channel, other), std::invalid_argument) << other;
        EXPECT_EQ(value(channel), CValue{230.0f});
    }
    client().settle();
    EXPECT_TRUE(writes.all().empty());
}

TEST_P(StoreChannelTest, ARefusedFirstValueLeavesTheChannelWithoutOne) {
    const std::uint64_t channel = client().channel(device, names::UINT32);
    EXPECT_THROW(client().set(channel, std::int32_t{1}), std::invalid_argument);
    EXPECT_FALSE(client().channels().isChannelValueInitialized(channel));
}

TEST_P(StoreChannelTest, TheLabelsOfTheCatalogueAreSetOnCreation) {
    const qz::CMultistateMap states = client().record(client().channel(device, names::LABELLED)).states;
    ASSERT_EQ(states.entries().size(), 3u);
    EXPECT_EQ(states.entries()[0], (qz::CMultistateMap::Entry{CValue{1u}, "present"}));
    EXPECT_EQ(states.entries()[1], (qz::CMultistateMap::Entry{CValue{2u}, "not present"}));
    EXPECT_EQ(states.entries()[2], (qz::CMultistateMap::Entry{CValue{3u}, "no storage mode"}));
}

TEST_P(StoreChannelTest, LabelsAreReplacedAsAWhole) {
    const std::uint64_t channel = client().channel(device, names::LABELLED);
    qz::CMultistateMap states;
    states.add(CValue{2u}, "two");
    states.add(CValue{1u}, "one");
    client().channels().setChannelMultistateMap(channel, states);
    EXPECT_EQ(another()->record(channel).states, states);
    EXPECT_EQ(another()->record(channel).commonStates.entries().size(), 3u);
    client().channels().setChannelMultistateMap(channel, {});
    EXPECT_TRUE(client().record(channel).states.empty());
}

TEST_P(StoreChannelTest, FindingAChannelAgainKeepsLabelsAndValue) {
    const std::uint64_t channel = client().channel(device, names::LABELLED);
    qz::CMultistateMap states;
    states.add(CValue{1u}, "one");
    client().channels().setChannelMultistateMap(channel, states);
    client().set(channel, 1u);
    another()->channel(device, names::LABELLED);
    EXPECT_EQ(client().record(channel).states, states);
    EXPECT_EQ(value(channel), CValue{1u});
}

TEST_P(StoreChannelTest, LabelsMayBeKeyedByEveryKindOfValue) {
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    qz::CMultistateMap states;
    states.add(CValue{true}, "yes");
    states.add(CValue{-1.5f}, "low");
    states.add(CValue{"text"}, "a text");
    states.add(CValue{std::uint64_t{18446744073709551615u}}, "all ones");
    client().channels().setChannelMultistateMap(channel, states);
    EXPECT_EQ(another()->record(channel).states, states);
}

TEST_P(StoreChannelTest, EveryChannelThatIsNotKeptGoes) {
    const std::uint64_t kept = client().channel(device, names::FLOAT32);
    const std::uint64_t gone = client().channel(device, names::UINT32);
    const std::uint64_t elsewhere = client().channel(client().device("other"), names::UINT32);
    const std::uint64_t below = client().channel(client().device("child", device), names::UINT32);
    client().channels().removeAllChannelsExcept(device, {kept, 123456789});
    EXPECT_EQ(client().channels().getCatchedChannelId(device, names::FLOAT32), kept);
    EXPECT_EQ(client().channels().getCatchedChannelId(device, names::UINT32), UNKNOWN_ID);
    EXPECT_EQ(client().channels().getChannelDataType(gone), qz::datatype::unknown);
    EXPECT_EQ(client().channels().getChannelDataType(elsewhere), qz::datatype::uint32);
    EXPECT_EQ(client().channels().getChannelDataType(below), qz::datatype::uint32);
    client().channels().removeAllChannelsExcept(device, {});
    EXPECT_EQ(client().channels().getChannelDataType(kept), qz::datatype::unknown);
}

TEST_P(StoreChannelTest, SettingAChannelThatIsGoneIsARuntimeErrorThatNamesIt) {
    const auto other = another();
    const std::uint64_t channel = client().channel(device, names::UINT32);
    client().set(channel, 1u);
    other->channels().removeAllChannelsExcept(device, {});
    EXPECT_FALSE(value(channel).isValid());
    try {
        client().set(channel, 2u);
        FAIL() << "nothing thrown";
    } catch (const std::invalid_argument&) {
        FAIL() << "not the failure of another type";
    } catch (const std::runtime_error& failure) {
        EXPECT_NE(std::string{failure.what()}.find(std::to_string(channel)), std::string::npos)
            << failure.what();
    }
}

TEST_P(StoreChannelTest, AChannelThatComesBackIsANewOne) {
    const std::uint64_t before = client().channel(device, names::UINT32);
    client().set(before, 1u);
    client().channels().removeAllChannelsExcept(device, {});
    const std::uint64_t after = client().channel(device, names::UINT32);
    EXPECT_NE(after, before);
    EXPECT_FALSE(client().channels().isChannelValueInitialized(after));
    EXPECT_THROW(client().set(before, 2u), std::runtime_error);
}

TEST_P(StoreChannelTest, TheRootHasChannelsToo) {
    const std::uint64_t channel = client().channel(ROOT, "System.Ethernet.MacAddress");
    client().set(channel, "00:11:22:33:44:55");
    EXPECT_EQ(value(channel), CValue{"00:11:22:33:44:55"});
}

} // namespace
} // namespace tessapi::contract
