#include "platform/qz/CValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace {

using qz::CTimestamp;
using qz::CValue;
using qz::datatype;

std::string printed(const CValue& value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

std::vector<CValue> oneOfEach() {
    return {CValue{true},
            CValue{std::int32_t{-1}},
            CValue{std::int64_t{-2}},
            CValue{std::uint32_t{3}},
            CValue{std::uint64_t{4}},
            CValue{5.5f},
            CValue{6.5},
            CValue{CTimestamp{7}},
            CValue{"eight"},
            CValue{CValue::Bytes{9}}};
}

TEST(CValueTest, IsInvalidByDefault) {
    const CValue value;
    EXPECT_FALSE(value.isValid());
    EXPECT_EQ(value.type(), std::nullopt);
    EXPECT_EQ(value.asNumber(), std::nullopt);
}

TEST(CValueTest, EveryAlternativeGoesIntoTheChannelTypeOfItsPlace) {
    const auto values = oneOfEach();
    for (std::uint32_t number = 0; number < values.size(); ++number) {
        EXPECT_TRUE(values[number].isValid());
        EXPECT_EQ(values[number].type(), static_cast<datatype>(number));
    }
}

TEST(CValueTest, ReadsWhatItHolds) {
    EXPECT_TRUE(CValue{true}.as_bool());
    EXPECT_EQ(CValue{std::numeric_limits<std::int32_t>::min()}.as_int32(),
              std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(CValue{std::numeric_limits<std::int64_t>::min()}.as_int64(),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(CValue{std::numeric_limits<std::uint32_t>::max()}.as_uint32(), 4294967295u);
    EXPECT_EQ(CValue{std::numeric_limits<std::uint64_t>::max()}.as_uint64(),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(CValue{0.1f}.as_float(), 0.1f);
    EXPECT_EQ(CValue{0.1}.as_double(), 0.1);
    EXPECT_EQ(CValue{CTimestamp{1700000000}}.as_timestamp().seconds, 1700000000);
    EXPECT_EQ(CValue{std::string("a\0b", 3)}.as_string(), std::string("a\0b", 3));
    EXPECT_EQ((CValue{CValue::Bytes{0, 255}}.as_binary()), (CValue::Bytes{0, 255}));
}

TEST(CValueTest, AnInvalidValueReadsAsNothing) {
    const CValue value;
    EXPECT_FALSE(value.as_bool());
    EXPECT_EQ(value.as_int32(), 0);
    EXPECT_EQ(value.as_int64(), 0);
    EXPECT_EQ(value.as_uint32(), 0u);
    EXPECT_EQ(value.as_uint64(), 0u);
    EXPECT_EQ(value.as_float(), 0.0f);
    EXPECT_EQ(value.as_double(), 0.0);
    EXPECT_EQ(value.as_timestamp().seconds, 0);
    EXPECT_EQ(value.as_string(), "");
    EXPECT_TRUE(value.as_binary().empty());
}

/// Whether reading `value` as the type of this number throws.
bool throwsAs(const CValue& value, std::uint32_t number) {
    try {
        switch (number) {
        case 0:
            value.as_bool();
            break;
        case 1:
            value.as_int32();
            break;
        case 2:
            value.as_int64();
            break;
        case 3:
            value.as_uint32();
            break;
        case 4:
            value.as_uint64();
            break;
        case 5:
            value.as_float();
            break;
        case 6:
            value.as_double();
            break;
        case 7:
            value.as_timestamp();
            break;
        case 8:
            value.as_string();
            break;
        default:
            value.as_binary();
        }
        return false;
    } catch (const std::runtime_error&) {
        return true;
    }
}

TEST(CValueTest, ReadingAnotherAlternativeThrows) {
    const auto values = oneOfEach();
    for (std::uint32_t held = 0; held < values.size(); ++held) {
        for (std::uint32_t wanted = 0; wanted < values.size(); ++wanted) {
            EXPECT_EQ(throwsAs(values[held], wanted), held != wanted) << held << " as " << wanted;
        }
    }
}

TEST(CValueTest, TheFailureNamesBothTypes) {
    try {
        CValue{5.5f}.as_uint32();
        FAIL() << "nothing thrown";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "Cannot read a value of type float32 as uint32");
    }
}

TEST(CValueTest, NumbersBooleansAndTimestampsCountAsNumbers) {
    EXPECT_EQ(CValue{false}.asNumber(), 0.0);
    EXPECT_EQ(CValue{true}.asNumber(), 1.0);
    EXPECT_EQ(CValue{std::int32_t{-3}}.asNumber(), -3.0);
    EXPECT_EQ(CValue{std::int64_t{-4}}.asNumber(), -4.0);
    EXPECT_EQ(CValue{4294967295u}.asNumber(), 4294967295.0);
    EXPECT_EQ(CValue{std::uint64_t{5}}.asNumber(), 5.0);
    EXPECT_EQ(CValue{0.5f}.asNumber(), 0.5);
    EXPECT_EQ(CValue{0.1}.asNumber(), 0.1);
    EXPECT_EQ(CValue{CTimestamp{1700000000}}.asNumber(), 1700000000.0);
}

TEST(CValueTest, TextsAndBytesAreNoNumbers) {
    EXPECT_EQ(CValue{"1"}.asNumber(), std::nullopt);
    EXPECT_EQ((CValue{CValue::Bytes{1}}.asNumber()), std::nullopt);
}

TEST(CValueTest, EqualMeansSameAlternativeAndSameContent) {
    EXPECT_EQ(CValue{1u}, CValue{1u});
    EXPECT_FALSE(CValue{1u} == CValue{2u});
    EXPECT_FALSE(CValue{1u} == CValue{std::int32_t{1}});
    EXPECT_FALSE(CValue{} == CValue{false});
    EXPECT_EQ(CValue{}, CValue{});
}

TEST(CValueTest, TimestampsAreEqualWhenTheirSecondsAre) {
    EXPECT_EQ(CValue{CTimestamp{5}}, (CValue{CTimestamp{5, "%c"}}));
    EXPECT_FALSE(CValue{CTimestamp{5}} == CValue{CTimestamp{6}});
    EXPECT_EQ(CTimestamp{}.format, "%F %T");
}

TEST(CValueTest, ALiteralIsATextAndNotABoolean) {
    EXPECT_EQ(CValue{"text"}.type(), datatype::string);
}

TEST(CValuePrintTest, PrintsTheContent) {
    EXPECT_EQ(printed(CValue{}), "invalid");
    EXPECT_EQ(printed(CValue{true}), "true");
    EXPECT_EQ(printed(CValue{false}), "false");
    EXPECT_EQ(printed(CValue{std::numeric_limits<std::int32_t>::min()}), "-2147483648");
    EXPECT_EQ(printed(CValue{std::numeric_limits<std::int64_t>::min()}), "-9223372036854775808");
    EXPECT_EQ(printed(CValue{4294967295u}), "4294967295");
    EXPECT_EQ(printed(CValue{std::numeric_limits<std::uint64_t>::max()}), "18446744073709551615");
    EXPECT_EQ(printed(CValue{"two words"}), "two words");
    EXPECT_EQ(printed(CValue{CValue::Bytes{0x00, 0x1f, 0xa0}}), "001fa0");
}

TEST(CValuePrintTest, FloatsTakeTheShortestFormThatReadsBackTheSame) {
    EXPECT_EQ(printed(CValue{230.1f}), "230.1");
    EXPECT_EQ(printed(CValue{0.1}), "0.1");
    EXPECT_EQ(printed(CValue{100.0f}), "100");
    const float odd = std::nextafter(1.0f, 2.0f);
    EXPECT_EQ(std::stof(printed(CValue{odd})), odd);
    EXPECT_EQ(printed(CValue{-std::numeric_limits<double>::max()}), "-1.7976931348623157e+308");
}

TEST(CValuePrintTest, TimestampsAreIso8601InUtc) {
    EXPECT_EQ(printed(CValue{CTimestamp{0}}), "1970-01-01T00:00:00Z");
    EXPECT_EQ(printed(CValue{CTimestamp{1706704496}}), "2024-01-31T12:34:56Z");
    EXPECT_EQ(printed(CValue{CTimestamp{-1}}), "1969-12-31T23:59:59Z");
}

TEST(CValuePrintTest, ATimestampBeyondTheCalendarPrintsItsSeconds) {
    EXPECT_EQ(printed(CValue{CTimestamp{std::numeric_limits<std::int64_t>::max()}}), "9223372036854775807");
}

} // namespace
