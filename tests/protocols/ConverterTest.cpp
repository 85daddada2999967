#include "powerdistribution/protocols/Converter.h"

#include "powerdistribution/protocols/PaddingConverter.h"
#include "powerdistribution/protocols/ROConverter.h"
#include "powerdistribution/protocols/WOConverter.h"
#include "testing/FakeWrapper.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakePoint;
using velk::testing::FakeWrapper;

/// Adds one on the way in from the device, takes one off on the way out; knows no value for `true`.
template <typename Base>
class Shifter : public Base {
public:
    using Base::Base;
    virtual Value rawToConverted(const Value& raw) const { return raw.get<std::uint32_t>() + 1; }
    virtual Value convertedToRaw(const Value& value) const {
        return value.holds<bool>() ? Value{} : Value{value.get<std::uint32_t>() - 1};
    }
};

class ConverterTest : public ::testing::Test {
protected:
    const std::shared_ptr<FakePoint> point = std::make_shared<FakePoint>(Value{4u});
    Shifter<Converter> converter{FakeWrapper::on(point)};
};

TEST_F(ConverterTest, ConvertsWhatTheDeviceGives) {
    EXPECT_EQ(converter.read(), Value{5u});
}

TEST_F(ConverterTest, ReadableWrapperWithoutValueReadsAsEmpty) {
    point->setValue({});
    EXPECT_EQ(converter.read(), Value{});
}

TEST_F(ConverterTest, UnreadableWrapperIsNotRead) {
    point->setReadable(false);
    EXPECT_FALSE(converter.isReadable());
    EXPECT_EQ(converter.read(), Value{});
    EXPECT_EQ(point->reads(), 0u);
}

TEST_F(ConverterTest, ConvertsWhatTheDeviceGets) {
    EXPECT_TRUE(converter.write(Value{9u}));
    EXPECT_EQ(point->value(), Value{8u});
}

TEST_F(ConverterTest, UnwritableWrapperIsNotWritten) {
    point->setWritable(false);
    EXPECT_FALSE(converter.isWritable());
    EXPECT_FALSE(converter.write(Value{9u}));
    EXPECT_EQ(point->writes(), 0u);
}

TEST_F(ConverterTest, EmptyValueIsNotWritten) {
    EXPECT_FALSE(converter.write(Value{}));
    EXPECT_EQ(point->writes(), 0u);
}

TEST_F(ConverterTest, ValueWithoutRawFormIsNotWritten) {
    EXPECT_FALSE(converter.write(Value{true}));
    EXPECT_EQ(point->writes(), 0u);
}

TEST_F(ConverterTest, RefusalOfTheWrapperInsideIsPassedOn) {
    point->refuseWrites(true);
    EXPECT_FALSE(converter.write(Value{9u}));
    EXPECT_EQ(point->writes(), 1u);
}

TEST_F(ConverterTest, FailureOfTheWrapperInsidePasses) {
    point->throwOnRead("bus error");
    EXPECT_THROW(converter.read(), std::runtime_error);
}

TEST_F(ConverterTest, ConfigurationOfTheWrapperInsideDoesNotTravelUp) {
    DataConfig config;
    config.channelOption = true;
    config.alarmConfig.emplace();
    point->setDataConfig(config);
    EXPECT_FALSE(converter.dataConfig().channelOption);
    EXPECT_FALSE(converter.dataConfig().alarmConfig.has_value());
}

TEST(ROConverterTest, IsReadableAndNotWritableWithoutAskingTheWrapperInside) {
    const auto point = std::make_shared<FakePoint>(Value{4u});
    point->setReadable(false);
    Shifter<ROConverter> converter{FakeWrapper::on(point)};
    EXPECT_TRUE(converter.isReadable());
    EXPECT_FALSE(converter.isWritable());
    EXPECT_EQ(converter.read(), Value{5u});
    EXPECT_FALSE(converter.write(Value{1u}));
    point->setValue({});
    EXPECT_EQ(converter.read(), Value{});
}

TEST(WOConverterTest, IsWritableAndNotReadableWithoutAskingTheWrapperInside) {
    const auto point = std::make_shared<FakePoint>();
    point->setWritable(false);
    Shifter<WOConverter> converter{FakeWrapper::on(point)};
    EXPECT_FALSE(converter.isReadable());
    EXPECT_TRUE(converter.isWritable());
    EXPECT_EQ(converter.read(), Value{});
    EXPECT_TRUE(converter.write(Value{3u}));
    EXPECT_EQ(point->written(), std::vector<Value>{Value{2u}});
}

TEST(WOConverterTest, EmptyValuesAreNotWritten) {
    const auto point = std::make_shared<FakePoint>();
    Shifter<WOConverter> converter{FakeWrapper::on(point)};
    EXPECT_FALSE(converter.write(Value{}));
    EXPECT_FALSE(converter.write(Value{true}));
    EXPECT_EQ(point->writes(), 0u);
}

class PaddingConverterTest : public ::testing::Test {
protected:
    const std::shared_ptr<FakePoint> point = std::make_shared<FakePoint>();
    PaddingConverter converter{FakeWrapper::on(point), 4};
};

TEST_F(PaddingConverterTest, ShortTextIsFilledUpWithBlanks) {
    EXPECT_TRUE(converter.write(Value{std::string{"ab"}}));
    EXPECT_EQ(point->value(), Value{std::string{"ab  "}});
}

TEST_F(PaddingConverterTest, LongTextIsCut) {
    EXPECT_TRUE(converter.write(Value{std::string{"abcdef"}}));
    EXPECT_EQ(point->value(), Value{std::string{"abcd"}});
}

TEST_F(PaddingConverterTest, ReadingKeepsTheBlanksAndAnyAlternative) {
    point->setValue(std::string{"ab  "});
    EXPECT_EQ(converter.read(), Value{std::string{"ab  "}});
    point->setValue(5u);
    EXPECT_EQ(converter.read(), Value{5u});
}

TEST_F(PaddingConverterTest, WritingAnythingButAStringFails) {
    try {
        converter.write(Value{5u});
        FAIL() << "the write went through";
    } catch (const std::bad_variant_access& failure) {
        EXPECT_STREQ(failure.what(), "Unexpected index");
    }
    EXPECT_EQ(point->writes(), 0u);
}

} // namespace
