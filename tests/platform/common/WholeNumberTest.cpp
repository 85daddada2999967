#include "platform/common/WholeNumber.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace velk::common {
namespace {

using nlohmann::json;

TEST(WholeNumberTest, ANumberOfTheTypeIsTaken) {
    EXPECT_EQ(wholeNumber<std::uint64_t>(json::parse("18446744073709551615")),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(wholeNumber<std::int64_t>(json::parse("-9223372036854775808")),
              std::numeric_limits<std::int64_t>::min());
    std::uint16_t number = 0;
    takeWhole(json::parse("65535"), number);
    EXPECT_EQ(number, 65535);
}

TEST(WholeNumberTest, WhatIsNoneOfTheTypeIsRefused) {
    for (const char* text : {"18446744073709551616", "744444444444444444444444444444444", "-1", "65536",
                             "1.5", "1e3", "\"1\"", "null", "true", "[1]"}) {
        EXPECT_THROW(wholeNumber<std::uint16_t>(json::parse(text)), json::out_of_range) << text;
    }
    EXPECT_THROW(wholeNumber<std::int64_t>(json::parse("9223372036854775808")), json::out_of_range);
    EXPECT_THROW(wholeNumber<std::uint64_t>(json::parse("-1")), json::out_of_range);
    EXPECT_THROW(wholeNumber<std::uint64_t>(json::parse("1e30")), json::out_of_range);
}

TEST(WholeNumberTest, TheRefusalSaysWhatWasFound) {
    try {
        wholeNumber<std::int32_t>(json::parse("2.5"));
        ADD_FAILURE() << "it was taken";
    } catch (const json::exception& failure) {
        EXPECT_NE(std::string{failure.what()}.find("expected a whole number, found 2.5"), std::string::npos)
            << failure.what();
    }
}

} // namespace
} // namespace velk::common
