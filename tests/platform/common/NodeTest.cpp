#include "platform/common/lwjson/Deserializer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::Node;

template <typename T>
T extract(const std::string& json) {
    return Deserializer::extractValue<T>(Deserializer{json}.root());
}

/// What the extraction of a value as `T` is refused with.
template <typename T>
std::string refusal(const std::string& json) {
    try {
        extract<T>(json);
        return "accepted";
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
}

TEST(NodeTest, BooleansAreExtracted) {
    EXPECT_TRUE(extract<bool>("true"));
    EXPECT_FALSE(extract<bool>("false"));
}

TEST(NodeTest, IntegersAreExtractedUpToTheirLimits) {
    EXPECT_EQ(extract<std::int32_t>("-2147483648"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(extract<std::int32_t>("2147483647"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(extract<std::uint32_t>("0"), 0U);
    EXPECT_EQ(extract<std::uint32_t>("-0"), 0U);
    EXPECT_EQ(extract<std::uint32_t>("4294967295"), 4294967295U);
    EXPECT_EQ(extract<std::int64_t>("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(extract<std::int64_t>("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
}

TEST(NodeTest, IntegersOutOfRangeAreRefused) {
    EXPECT_EQ(refusal<std::int32_t>("2147483648"),
              "line 1, column 1: value is 2147483648, expected an integer from -2147483648 to 2147483647");
    EXPECT_EQ(refusal<std::uint32_t>("-1"),
              "line 1, column 1: value is -1, expected an integer from 0 to 4294967295");
    EXPECT_EQ(refusal<std::uint32_t>("4294967296"),
              "line 1, column 1: value is 4294967296, expected an integer from 0 to 4294967295");
    EXPECT_EQ(refusal<std::int64_t>("9223372036854775808"),
              "line 1, column 1: value is 9223372036854775808, expected an integer of 64 bits");
}

TEST(NodeTest, FloatIsNoInteger) {
    EXPECT_EQ(refusal<std::int32_t>("1.0"),
              "line 1, column 1: value is 1.0, expected an integer from -2147483648 to 2147483647");
    EXPECT_EQ(refusal<std::int64_t>("1e2"), "line 1, column 1: value is 1e2, expected an integer of 64 bits");
}

TEST(NodeTest, NumbersOfBothKindsAreExtractedAsFloatingPoint) {
    EXPECT_EQ(extract<float>("0.1"), 0.1F);
    EXPECT_EQ(extract<float>("-7"), -7.0F);
    EXPECT_EQ(extract<double>("1E+2"), 100.0);
    EXPECT_EQ(extract<double>("9007199254740993"), 9007199254740992.0);
    EXPECT_EQ(extract<double>("1.7976931348623157e308"), std::numeric_limits<double>::max());
    EXPECT_TRUE(std::signbit(extract<float>("-0")));
}

TEST(NodeTest, NumbersTooLargeForTheirTypeAreRefused) {
    EXPECT_EQ(refusal<float>("1e39"),
              "line 1, column 1: value is 1e39, expected a number of single precision");
    EXPECT_EQ(refusal<double>("-1e999"),
              "line 1, column 1: value is -1e999, expected a number of double precision");
    EXPECT_EQ(extract<double>("1e39"), 1e39);
}

TEST(NodeTest, NumbersTooSmallForTheirTypeAreRefused) {
    EXPECT_EQ(refusal<float>("1e-60"),
              "line 1, column 1: value is 1e-60, expected a number of single precision");
    EXPECT_EQ(refusal<double>("1e-999"),
              "line 1, column 1: value is 1e-999, expected a number of double precision");
}

TEST(NodeTest, ZeroIsZeroWithAnyExponent) {
    EXPECT_EQ(extract<float>("0e999"), 0.0F);
    EXPECT_EQ(extract<double>("0.0E-999"), 0.0);
}

TEST(NodeTest, SmallestNumbersOfAllAreExtracted) {
    EXPECT_EQ(extract<float>("1e-45"), std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(extract<double>("5e-324"), std::numeric_limits<double>::denorm_min());
}

TEST(NodeTest, StringsAreExtracted) {
    EXPECT_EQ(extract<std::string>(R"("a\tb")"), "a\tb");
    EXPECT_EQ(extract<std::string>(R"("")"), "");
}

TEST(NodeTest, OtherKindsAreRefusedByWhatTheyAre) {
    EXPECT_EQ(refusal<bool>("1"), "line 1, column 1: value is 1, expected true or false");
    EXPECT_EQ(refusal<bool>("null"), "line 1, column 1: value is null, expected true or false");
    EXPECT_EQ(refusal<std::string>("true"), "line 1, column 1: value is true, expected a string");
    EXPECT_EQ(refusal<float>("\"1\""),
              "line 1, column 1: value is \"1\", expected a number of single precision");
    EXPECT_EQ(refusal<std::string>("[1]"), "line 1, column 1: value is an array, expected a string");
    EXPECT_EQ(refusal<std::int64_t>("{}"),
              "line 1, column 1: value is an object, expected an integer of 64 bits");
}

TEST(NodeTest, RefusalNamesTheMemberAndItsPlace) {
    const Deserializer json{"{\n  \"maxThreads\": \"five\"\n}"};
    try {
        json.findMember("maxThreads")->asUint32();
        FAIL() << "no exception";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(),
                     "line 2, column 17: \"maxThreads\" is \"five\", expected an integer from 0 "
                     "to 4294967295");
    }
}

} // namespace
