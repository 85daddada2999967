#include "powerdistribution/connectors/ChannelTessConnector.h"

#include "platform/common/UnexpectedIndex.h"
#include "powerdistribution/core/PowerDistributionError.h"
#include "tests/connectors/ChannelFixture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace velk::powerdistribution::connectors {
namespace {

using qz::datatype;

class ChannelTessConnectorTest : public testing::ChannelFixture {
protected:
    std::string storeFailure(const Value& value) {
        try {
            connector->store(data(value));
        } catch (const PowerDistributionError& failure) {
            return failure.what();
        }
        return "no failure";
    }
};

// From a data point to its channel.

TEST_F(ChannelTessConnectorTest, LooksItsDeviceUpOnceAndResolvesNoChannelByItself) {
    connector->init();
    EXPECT_EQ(std::vector<std::string>{"deviceIdOf(" + uuid.toString() + ")"}, store.calls());
    EXPECT_TRUE(connector->getChannelIds().empty());
}

TEST_F(ChannelTessConnectorTest, TheLastNodeNamesTheChannelAndTheStoreItsType) {
    connector->store(data(Value{true}));
    EXPECT_EQ((std::vector<std::string>{"emplaceChannel(20, " + channelName + ", 0)",
                                        "getChannelDataType(1000)", "setChannelCValue(1000, true)"}),
              callsAfterConstruction());
}

TEST_F(ChannelTessConnectorTest, AResolvedChannelIsNotLookedUpAgain) {
    connector->store(data(Value{true}));
    connector->store(data(Value{false}));
    loaded();
    EXPECT_EQ(1u, store.calls("emplaceChannel").size());
    EXPECT_EQ(1u, store.calls("getChannelDataType").size());
}

TEST_F(ChannelTessConnectorTest, TheChannelOptionGoesToTheStore) {
    auto optioned = data(Value{true});
    optioned.dataConfig.channelOption = true;
    connector->store(optioned);
    EXPECT_EQ(std::vector<std::string>{"emplaceChannel(20, " + channelName + ", 1)"},
              store.calls("emplaceChannel"));
}

TEST_F(ChannelTessConnectorTest, AnEmptyPathHasNoChannel) {
    try {
        connector->store({});
        FAIL() << "stored";
    } catch (const std::out_of_range& failure) {
        EXPECT_STREQ("Cannot get last node of an empty path", failure.what());
    }
}

TEST_F(ChannelTessConnectorTest, ADataPointOfAnotherFamilyHasNoChannel) {
    try {
        connector->store({{EStatus::Mode}, Value{1u}, {}});
        FAIL() << "stored";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ("Data model object contains invalid data type", failure.what());
    }
}

TEST_F(ChannelTessConnectorTest, MembersCountFromOne) {
    EXPECT_EQ(0u, connector->modelToIndex({{ESetting::AudibleAlarmControl}, {}, {}}));
    EXPECT_EQ(44u, connector->modelToIndex({{ECircuit::Inputs, 1u, ESetting::WiringFaultEnabled}, {}, {}}));
}

TEST_F(ChannelTessConnectorTest, AFailureWhileResolvingIsTriedAgainFromTheStart) {
    store.faults().failOn("getChannelDataType");
    EXPECT_THROW(connector->store(data(Value{true})), boost::system::system_error);
    EXPECT_TRUE(connector->getChannelIds().empty());
    store.faults().recover();
    connector->store(data(Value{true}));
    EXPECT_EQ(2u, store.calls("emplaceChannel").size());
    EXPECT_EQ(std::vector<std::uint64_t>{1000}, connector->getChannelIds());
}

TEST_F(ChannelTessConnectorTest, OnADeviceThatTheStoreDoesNotHaveNothingIsWrittenOrRead) {
    ChannelTessConnector<ESetting> lost{store, velk::common::Uuid::NIL, 45};
    handlers::HandlerData before = data(Value{true});
    lost.store(before);
    lost.load(before);
    lost.subscribe(before, &listener, {true, true});
    EXPECT_EQ(Value{true}, before.value);
    EXPECT_EQ(0u, listener.count());
    EXPECT_TRUE(store.calls("setChannelCValue").empty());
    EXPECT_TRUE(store.calls("subscribe").empty());
}

TEST_F(ChannelTessConnectorTest, ReportsItsDeviceWithTheResolvedChannelsInTableOrder) {
    connector->store(data(Value{true}));
    handlers::HandlerData earlier{{ESetting::AudibleAlarmControl}, Value{std::string{"x"}}, {}};
    connector->store(earlier);
    EXPECT_EQ((TessResources::Map{{20, {1001, 1000}}}), connector->getResourcesInUse().resources());
}

TEST_F(ChannelTessConnectorTest, AnEntryIsFoundByItsChannel) {
    connector->store(data(Value{true}));
    const auto* info = connector->getChannelInfo(1000);
    ASSERT_NE(nullptr, info);
    EXPECT_EQ(path.nodesToString(), info->data.path.nodesToString());
    EXPECT_FALSE(info->data.value.hasValue());
    EXPECT_EQ(datatype::boolean, info->type);
    EXPECT_EQ(nullptr, connector->getChannelInfo(1001));
}

// Alarm configuration.

handlers::HandlerData withTriggers(handlers::HandlerData data, std::vector<Trigger::Type> types) {
    AlarmConfig config;
    for (const Trigger::Type type : types) {
        Trigger trigger;
        trigger.type = type;
        trigger.threshold1 = Value{static_cast<std::uint32_t>(config.triggers.size())};
        trigger.message = "state " + std::to_string(config.triggers.size());
        config.triggers.push_back(trigger);
    }
    data.dataConfig.alarmConfig = config;
    return data;
}

TEST_F(ChannelTessConnectorTest, TheAlarmConfigurationGoesToTheStoreBeforeTheFirstValue) {
    connector->store(withTriggers(data(Value{true}), {Trigger::Type::value}));
    EXPECT_EQ((std::vector<std::string>{"emplaceChannel(20, " + channelName + ", 0)",
                                        "getChannelDataType(1000)", "setChannelAlarmConfig(1000, 1)",
                                        "setChannelMultistateMap(1000, 1)", "setChannelCValue(1000, true)"}),
              callsAfterConstruction());
    const auto channel = store.inbandAccessor().channel(20, channelName);
    EXPECT_EQ("state 0", *channel.states.find(qz::CValue{0u}));
}

TEST_F(ChannelTessConnectorTest, ItIsSentAgainOnlyWhenItHasChanged) {
    auto configured = withTriggers(data(Value{true}), {Trigger::Type::value});
    connector->store(configured);
    connector->store(configured);
    EXPECT_EQ(1u, store.calls("setChannelAlarmConfig").size());
    configured.dataConfig.alarmConfigChanged = true;
    connector->store(configured);
    EXPECT_EQ(2u, store.calls("setChannelAlarmConfig").size());
    EXPECT_EQ(3u, store.calls("setChannelCValue").size());
}

TEST_F(ChannelTessConnectorTest, LoadCarriesTheAlarmConfigurationToo) {
    auto configured = withTriggers(data({}), {Trigger::Type::none});
    connector->load(configured);
    EXPECT_EQ(1u, store.calls("setChannelAlarmConfig").size());
    EXPECT_EQ(1u, store.calls("setChannelMultistateMap").size());
}

TEST_F(ChannelTessConnectorTest, OneTriggerThatComparesAnOrderPreventsTheStateNames) {
    for (const auto type : {Trigger::Type::lower, Trigger::Type::upper, Trigger::Type::inbetween}) {
        connector->setChannelAlarmConfiguration(5, withTriggers(data({}), {Trigger::Type::value, type}));
    }
    EXPECT_EQ(3u, store.calls("setChannelAlarmConfig").size());
    EXPECT_TRUE(store.calls("setChannelMultistateMap").empty());
}

TEST_F(ChannelTessConnectorTest, AnEmptyTriggerListSetsAnEmptyConfigurationAndNoStateNames) {
    connector->setChannelAlarmConfiguration(5, withTriggers(data({}), {}));
    EXPECT_EQ((std::vector<std::string>{"setChannelAlarmConfig(5, 0)", "setChannelMultistateMap(5, 0)"}),
              callsAfterConstruction());
}

TEST_F(ChannelTessConnectorTest, WithoutConfigurationNoStateNamesAreSent) {
    connector->store(data(Value{true}));
    EXPECT_TRUE(store.calls("setChannelAlarmConfig").empty());
    EXPECT_TRUE(store.calls("setChannelMultistateMap").empty());
}

TEST_F(ChannelTessConnectorTest, AThresholdThatCannotBeConvertedLeavesTheChannelUnresolved) {
    auto configured = withTriggers(data(Value{true}), {Trigger::Type::value});
    configured.dataConfig.alarmConfig->triggers[0].threshold1 = uuid;
    EXPECT_THROW(connector->store(configured), std::invalid_argument);
    EXPECT_TRUE(connector->getChannelIds().empty());
}

// Reading.

TEST_F(ChannelTessConnectorTest, LoadEmptiesTheValueWhenTheChannelHasNone) {
    auto before = data(Value{true});
    connector->load(before);
    EXPECT_FALSE(before.value.hasValue());
    EXPECT_TRUE(store.calls("getChannelCValue").empty());
}

TEST_F(ChannelTessConnectorTest, LoadGivesTheAlternativeOfTheChannelsType) {
    EXPECT_EQ(Value{true}, loadedAs(datatype::boolean, qz::CValue{true}));
    EXPECT_EQ(Value{std::int32_t{-2}}, loadedAs(datatype::int32, qz::CValue{std::int32_t{-2}}));
    EXPECT_EQ(Value{3u}, loadedAs(datatype::uint32, qz::CValue{std::uint32_t{3}}));
    EXPECT_EQ(Value{2.5f}, loadedAs(datatype::float32, qz::CValue{2.5f}));
    EXPECT_EQ(Value{std::string{"text"}}, loadedAs(datatype::string, qz::CValue{"text"}));
}

TEST_F(ChannelTessConnectorTest, LoadTakesTheLow32BitsOfATimestamp) {
    const std::int64_t beyond = (std::int64_t{1} << 32) + 0x80000000LL;
    EXPECT_EQ(Value{conv::UnixTime{0x80000000u}},
              loadedAs(datatype::timestamp, qz::CValue{qz::CTimestamp{beyond, "%F %T"}}));
}

TEST_F(ChannelTessConnectorTest, TypesWithoutConversionAreRefusedWhenRead) {
    const std::vector<std::pair<datatype, std::string>> table{{datatype::int64, "int64"},
                                                              {datatype::uint64, "uint64"},
                                                              {datatype::float64, "float64"},
                                                              {datatype::binary, "binary"},
                                                              {datatype::unknown, "unknown (255)"}};
    for (const auto& [type, text] : table) {
        BaseChannelTessConnector::ChannelInfo info;
        info.id = 4711;
        info.type = type;
        try {
            connector->getDataValue(info, qz::CValue{});
            FAIL() << "converted " << text;
        } catch (const PowerDistributionError& failure) {
            EXPECT_EQ("FATAL ERROR in BaseChannelTessConnector::getDataValue - Unsupported data type " +
                          text + " for TESS channel 4711",
                      failure.what());
        }
    }
}

// Writing.

TEST_F(ChannelTessConnectorTest, StoreWritesTheAlternativeOfTheChannelsType) {
    EXPECT_EQ(qz::CValue{true}, storedAs(datatype::boolean, Value{true}));
    EXPECT_EQ(qz::CValue{std::int32_t{-2}}, storedAs(datatype::int32, Value{std::int32_t{-2}}));
    EXPECT_EQ(qz::CValue{std::uint32_t{3}}, storedAs(datatype::uint32, Value{3u}));
    EXPECT_EQ(qz::CValue{2.5f}, storedAs(datatype::float32, Value{2.5f}));
    EXPECT_EQ(qz::CValue{"text"}, storedAs(datatype::string, Value{std::string{"text"}}));
}

TEST_F(ChannelTessConnectorTest, ATimeIsWrittenInSecondsWithItsFormat) {
    const auto stamp = storedAs(datatype::timestamp, Value{conv::UnixTime{4'000'000'000u}}).as_timestamp();
    EXPECT_EQ(4'000'000'000, stamp.seconds);
    EXPECT_EQ("%F %T", stamp.format);
}

TEST_F(ChannelTessConnectorTest, APathIsWrittenAsItsTextAndAnEmptyOneAsNull) {
    EXPECT_EQ(qz::CValue{"Inputs.1"}, storedAs(datatype::string, Value{EPath{ECircuit::Inputs, 1u}}));
    EXPECT_EQ(qz::CValue{"Null"}, storedAs(datatype::string, Value{EPath{}}));
}

TEST_F(ChannelTessConnectorTest, AValueOfAnotherTypeIsRefusedByPathTypeThatCameAndTypeExpected) {
    setType(datatype::float32);
    EXPECT_EQ("FATAL ERROR - HandlerData(path=Setting.BypassTransferEnabled, value=5) does not contains "
              "expected type (contains int32_t, expected float32)",
              storeFailure(std::int32_t{5}));
    EXPECT_TRUE(store.calls("setChannelCValue").empty());
}

TEST_F(ChannelTessConnectorTest, EveryAlternativeIsNamedInTheRefusal) {
    const std::vector<std::pair<Value, std::string>> table{{Value{}, "empty"},
                                                           {Value{1u}, "uint32_t"},
                                                           {Value{1.0f}, "float"},
                                                           {Value{conv::UnixTime{}}, "UnixTime"},
                                                           {Value{std::string{}}, "std::string"},
                                                           {Value{EPath{}}, "EPath"},
                                                           {Value{uuid}, "Uuid"},
                                                           {Value{BinaryBlock{}}, "BinaryBlock"},
                                                           {Value{InternalLogChunk{}}, "InternalLogChunk"}};
    for (const auto& [value, name] : table) {
        const std::string refusal = storeFailure(value);
        EXPECT_NE(std::string::npos, refusal.find("(contains " + name + ", expected boolean)")) << refusal;
    }
}

TEST_F(ChannelTessConnectorTest, TypesWithoutConversionAreRefusedWhenWritten) {
    setType(datatype::float64);
    EXPECT_EQ("FATAL ERROR in BaseChannelTessConnector::setDataValue - Unsupported data type float64 for "
              "TESS channel 1000",
              storeFailure(1.0f));
}

TEST_F(ChannelTessConnectorTest, AFailureOfTheStoreItselfPassesThrough) {
    store.faults().failOn("setChannelCValue");
    EXPECT_THROW(connector->store(data(Value{true})), boost::system::system_error);
}

TEST_F(ChannelTessConnectorTest, SetDataValueFailsWithUnexpectedIndex) {
    BaseChannelTessConnector::ChannelInfo info;
    info.type = datatype::boolean;
    EXPECT_THROW(connector->setDataValue(info, Value{1u}), velk::common::UnexpectedIndex);
    EXPECT_THROW(connector->setDataValue(info, {}), velk::common::UnexpectedIndex);
}

} // namespace
} // namespace velk::powerdistribution::connectors
