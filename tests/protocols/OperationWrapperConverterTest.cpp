#include "powerdistribution/protocols/OperationWrapperConverter.h"

#include "powerdistribution/protocols/AddConverter.h"
#include "powerdistribution/protocols/DivConverter.h"
#include "powerdistribution/protocols/MultConverter.h"
#include "powerdistribution/protocols/MultWithPercentConverter.h"
#include "powerdistribution/protocols/PosSubConverter.h"
#include "powerdistribution/protocols/SaturatingCast.h"
#include "testing/FakeWrapper.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakePoint;
using velk::testing::FakeWrapper;

template <typename Converter>
Value readThrough(const Value& raw, const Value& operand) {
    return Converter{FakeWrapper::of(raw), FakeWrapper::of(operand)}.read();
}

template <typename Converter>
Value writeThrough(const Value& value, const Value& operand) {
    const auto point = std::make_shared<FakePoint>();
    EXPECT_TRUE((Converter{FakeWrapper::on(point), FakeWrapper::of(operand)}.write(value)));
    return point->value();
}

template <typename Call>
std::string failureOf(const Call& call) {
    try {
        call();
    } catch (const std::invalid_argument& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(MultConverterTest, ReadsTheProductAndWritesTheQuotient) {
    EXPECT_EQ(readThrough<MultConverter>(Value{2.5f}, Value{4.0f}), Value{10.0f});
    EXPECT_EQ(writeThrough<MultConverter>(Value{10.0f}, Value{4.0f}), Value{2.5f});
}

TEST(MultWithPercentConverterTest, ReadsPercentOfTheValue) {
    EXPECT_EQ(readThrough<MultWithPercentConverter>(Value{200u}, Value{50.0f}), Value{100u});
    EXPECT_EQ(writeThrough<MultWithPercentConverter>(Value{100u}, Value{50.0f}), Value{200u});
}

TEST(MultWithPercentConverterTest, DividesThePercentBeforeItMultiplies) {
    EXPECT_EQ(readThrough<MultWithPercentConverter>(Value{100u}, Value{53.0f}), Value{52u});
    EXPECT_EQ(readThrough<MultWithPercentConverter>(Value{3.0f}, Value{79.0f}), Value{2.37000012f});
    EXPECT_EQ(writeThrough<MultWithPercentConverter>(Value{3.0f}, Value{79.0f}), Value{3.79746819f});
}

TEST(DivConverterTest, ReadsTheQuotientCutOffAndWritesTheProduct) {
    EXPECT_EQ(readThrough<DivConverter>(Value{std::int32_t{7}}, Value{2.0f}), Value{std::int32_t{3}});
    EXPECT_EQ(readThrough<DivConverter>(Value{std::int32_t{-7}}, Value{2.0f}), Value{std::int32_t{-3}});
    EXPECT_EQ(writeThrough<DivConverter>(Value{std::int32_t{3}}, Value{2.0f}), Value{std::int32_t{6}});
}

TEST(AddConverterTest, ReadsTheSumAndWritesTheDifference) {
    EXPECT_EQ(readThrough<AddConverter>(Value{1.0f}, Value{2.0f}), Value{3.0f});
    EXPECT_EQ(writeThrough<AddConverter>(Value{1.0f}, Value{2.0f}), Value{-1.0f});
}

TEST(PosSubConverterTest, NegativeDifferenceReadsAsZero) {
    EXPECT_EQ(readThrough<PosSubConverter>(Value{1.0f}, Value{2.0f}), Value{0.0f});
    EXPECT_EQ(readThrough<PosSubConverter>(Value{1u}, Value{2.0f}), Value{0u});
    EXPECT_EQ(readThrough<PosSubConverter>(Value{5.0f}, Value{2.0f}), Value{3.0f});
}

TEST(PosSubConverterTest, NegativeZeroReadsAsZero) {
    const Value result = readThrough<PosSubConverter>(Value{-0.0f}, Value{0.0f});
    EXPECT_FALSE(std::signbit(result.get<float>()));
}

TEST(PosSubConverterTest, WritesTheSum) {
    EXPECT_EQ(writeThrough<PosSubConverter>(Value{1.0f}, Value{2.0f}), Value{3.0f});
}

TEST(OperationWrapperConverterTest, ResultHasTheAlternativeOfTheValueWhateverTheOperands) {
    EXPECT_EQ(readThrough<AddConverter>(Value{3u}, Value{std::int32_t{-1}}), Value{2u});
    EXPECT_EQ(readThrough<AddConverter>(Value{std::int32_t{3}}, Value{1u}), Value{std::int32_t{4}});
    EXPECT_EQ(readThrough<AddConverter>(Value{3.5f}, Value{1u}), Value{4.5f});
    EXPECT_EQ(writeThrough<AddConverter>(Value{3u}, Value{1.9f}), Value{1u});
}

TEST(OperationWrapperConverterTest, StringFailsWithItsTypeName) {
    const std::string expected = "OperationWrapperConverter - Unable to convert type std::string to float";
    const Value text{std::string{"12"}};
    EXPECT_EQ(failureOf([&] { readThrough<AddConverter>(text, Value{1.0f}); }), expected);
    EXPECT_EQ(failureOf([&] { readThrough<AddConverter>(Value{1.0f}, text); }), expected);
    EXPECT_EQ(failureOf([&] { writeThrough<AddConverter>(text, Value{1.0f}); }), expected);
}

TEST(OperationWrapperConverterTest, TheValueFailsBeforeTheOperand) {
    EXPECT_EQ(failureOf([] { readThrough<AddConverter>(Value{true}, Value{std::string{"x"}}); }),
              "OperationWrapperConverter - Unable to convert type bool to float");
}

TEST(OperationWrapperConverterTest, EmptyValuesPassThroughSilently) {
    EXPECT_EQ(readThrough<AddConverter>({}, Value{1.0f}), Value{});
    EXPECT_EQ(readThrough<AddConverter>(Value{1.0f}, {}), Value{});
    const AddConverter converter{FakeWrapper::of({}), FakeWrapper::of(Value{1.0f})};
    EXPECT_EQ(converter.rawToConverted({}), Value{});
    EXPECT_EQ(converter.convertedToRaw({}), Value{});
}

TEST(OperationWrapperConverterTest, UnreadableOperandCountsAsEmpty) {
    const auto operand = std::make_shared<FakePoint>(Value{1.0f});
    operand->setReadable(false);
    const AddConverter converter{FakeWrapper::of(Value{1.0f}), FakeWrapper::on(operand)};
    EXPECT_EQ(converter.read(), Value{});
    EXPECT_EQ(operand->reads(), 0u);
}

TEST(OperationWrapperConverterTest, NullOperandGivesEmptyAndWritesNothing) {
    const auto point = std::make_shared<FakePoint>(Value{1.0f});
    AddConverter converter{FakeWrapper::on(point), nullptr};
    EXPECT_EQ(converter.read(), Value{});
    EXPECT_FALSE(converter.write(Value{2.0f}));
    EXPECT_EQ(point->writes(), 0u);
}

TEST(OperationWrapperConverterTest, OperandIsReadAnewOnEveryCall) {
    const auto operand = std::make_shared<FakePoint>(Value{1.0f});
    AddConverter converter{FakeWrapper::of(Value{1.0f}), FakeWrapper::on(operand)};
    EXPECT_EQ(converter.read(), Value{2.0f});
    operand->setValue(5.0f);
    EXPECT_EQ(converter.read(), Value{6.0f});
    EXPECT_TRUE(converter.write(Value{9.0f}));
    EXPECT_EQ(operand->reads(), 3u);
}

TEST(OperationWrapperConverterTest, IntegersSaturate) {
    EXPECT_EQ(readThrough<MultConverter>(Value{4000000000u}, Value{2.0f}), Value{4294967295u});
    EXPECT_EQ(readThrough<MultConverter>(Value{4u}, Value{-2.0f}), Value{0u});
    EXPECT_EQ(readThrough<DivConverter>(Value{std::int32_t{-1}}, Value{0.0f}),
              Value{std::numeric_limits<std::int32_t>::min()});
}

TEST(OperationWrapperConverterTest, NotANumberGivesIntegerZero) {
    EXPECT_EQ(readThrough<DivConverter>(Value{0u}, Value{0.0f}), Value{0u});
    EXPECT_EQ(readThrough<DivConverter>(Value{std::int32_t{0}}, Value{0.0f}), Value{std::int32_t{0}});
}

TEST(SaturatingCastTest, CutsOffTheFraction) {
    EXPECT_EQ(saturatingCast<std::int32_t>(3.99f), 3);
    EXPECT_EQ(saturatingCast<std::int32_t>(-3.99f), -3);
    EXPECT_EQ(saturatingCast<std::uint32_t>(-0.5f), 0u);
}

TEST(SaturatingCastTest, KeepsTheLastExactNumbersOfTheRange) {
    EXPECT_EQ(saturatingCast<std::int32_t>(2147483520.0f), 2147483520);
    EXPECT_EQ(saturatingCast<std::int32_t>(2147483648.0f), 2147483647);
    EXPECT_EQ(saturatingCast<std::int32_t>(-2147483648.0f), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(saturatingCast<std::uint32_t>(4294967040.0f), 4294967040u);
    EXPECT_EQ(saturatingCast<std::uint32_t>(4294967296.0f), 4294967295u);
}

TEST(SaturatingCastTest, InfinitiesGiveTheEndsAndNaNZero) {
    constexpr float INFINITE = std::numeric_limits<float>::infinity();
    EXPECT_EQ(saturatingCast<std::uint32_t>(INFINITE), 4294967295u);
    EXPECT_EQ(saturatingCast<std::int32_t>(-INFINITE), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(saturatingCast<std::int32_t>(std::numeric_limits<float>::quiet_NaN()), 0);
}

} // namespace
