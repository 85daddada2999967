#include "powerdistribution/protocols/AbsConverter.h"
#include "powerdistribution/protocols/NegativeConverter.h"
#include "testing/FakeWrapper.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakePoint;
using velk::testing::FakeWrapper;

constexpr std::int32_t LOWEST = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t HIGHEST = std::numeric_limits<std::int32_t>::max();

template <typename Converter>
Value readThrough(const Value& raw) {
    return Converter{FakeWrapper::of(raw)}.read();
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

TEST(NegativeConverterTest, UnsignedBecomesSigned) {
    EXPECT_EQ(readThrough<NegativeConverter>(Value{5u}), Value{std::int32_t{-5}});
}

TEST(NegativeConverterTest, UnsignedIsNegatedInTwosComplement) {
    EXPECT_EQ(readThrough<NegativeConverter>(Value{0xFFFFFFFFu}), Value{std::int32_t{1}});
    EXPECT_EQ(readThrough<NegativeConverter>(Value{0x80000000u}), Value{LOWEST});
}

TEST(NegativeConverterTest, SignedAndFloatKeepTheirAlternative) {
    EXPECT_EQ(readThrough<NegativeConverter>(Value{std::int32_t{-7}}), Value{std::int32_t{7}});
    EXPECT_EQ(readThrough<NegativeConverter>(Value{2.5f}), Value{-2.5f});
}

TEST(NegativeConverterTest, LowestIntegerGivesTheHighest) {
    EXPECT_EQ(readThrough<NegativeConverter>(Value{LOWEST}), Value{HIGHEST});
}

TEST(NegativeConverterTest, WorksTheSameOnTheWayOut) {
    const auto point = std::make_shared<FakePoint>();
    NegativeConverter converter{FakeWrapper::on(point)};
    EXPECT_TRUE(converter.write(Value{2.5f}));
    EXPECT_EQ(point->value(), Value{-2.5f});
    EXPECT_TRUE(converter.write(Value{5u}));
    EXPECT_EQ(point->value(), Value{std::int32_t{-5}});
}

TEST(NegativeConverterTest, OtherAlternativesFailBothWays) {
    EXPECT_EQ(failureOf([] { readThrough<NegativeConverter>(Value{true}); }),
              "make_negative - Unable to negate type bool");
    NegativeConverter converter{FakeWrapper::of({})};
    EXPECT_EQ(failureOf([&] { converter.write(Value{std::string{"x"}}); }),
              "make_negative - Unable to negate type std::string");
    EXPECT_EQ(failureOf([&] { converter.rawToConverted({}); }),
              "make_negative - Unable to negate type empty");
}

TEST(AbsConverterTest, TakesTheSignAway) {
    EXPECT_EQ(readThrough<AbsConverter>(Value{5u}), Value{5u});
    EXPECT_EQ(readThrough<AbsConverter>(Value{std::int32_t{-7}}), Value{std::int32_t{7}});
    EXPECT_EQ(readThrough<AbsConverter>(Value{std::int32_t{7}}), Value{std::int32_t{7}});
    EXPECT_EQ(readThrough<AbsConverter>(Value{-2.5f}), Value{2.5f});
}

TEST(AbsConverterTest, LowestIntegerGivesTheHighest) {
    EXPECT_EQ(readThrough<AbsConverter>(Value{LOWEST}), Value{HIGHEST});
}

TEST(AbsConverterTest, OtherAlternativesFail) {
    EXPECT_EQ(failureOf([] { readThrough<AbsConverter>(Value{std::string{"x"}}); }),
              "make_absolute - Unable to return absolute value for type std::string");
    EXPECT_EQ(failureOf([] { AbsConverter{FakeWrapper::of({})}.rawToConverted({}); }),
              "make_absolute - Unable to return absolute value for type empty");
}

TEST(AbsConverterTest, CannotBeWritten) {
    const auto point = std::make_shared<FakePoint>(Value{5u});
    AbsConverter converter{FakeWrapper::on(point)};
    EXPECT_FALSE(converter.isWritable());
    EXPECT_FALSE(converter.write(Value{6u}));
    EXPECT_EQ(point->writes(), 0u);
}

} // namespace
