#include "platform/qz/datatype.h"

#include "platform/qz/subscription_type.h"

#include <gtest/gtest.h>

namespace {

using qz::datatype;

TEST(DatatypeTest, EveryTypeHasItsNumberAndItsText) {
    EXPECT_EQ(qz::to_string(datatype{0}), "boolean");
    EXPECT_EQ(qz::to_string(datatype{1}), "int32");
    EXPECT_EQ(qz::to_string(datatype{2}), "int64");
    EXPECT_EQ(qz::to_string(datatype{3}), "uint32");
    EXPECT_EQ(qz::to_string(datatype{4}), "uint64");
    EXPECT_EQ(qz::to_string(datatype{5}), "float32");
    EXPECT_EQ(qz::to_string(datatype{6}), "float64");
    EXPECT_EQ(qz::to_string(datatype{7}), "timestamp");
    EXPECT_EQ(qz::to_string(datatype{8}), "string");
    EXPECT_EQ(qz::to_string(datatype{9}), "binary");
}

TEST(DatatypeTest, UnknownIs255) {
    EXPECT_EQ(static_cast<std::uint32_t>(datatype::unknown), 255u);
    EXPECT_EQ(qz::to_string(datatype::unknown), "unknown (255)");
}

TEST(DatatypeTest, ANumberWithoutTypeShowsItself) {
    EXPECT_EQ(qz::to_string(datatype{10}), "unknown (10)");
    EXPECT_EQ(qz::to_string(datatype{4294967295}), "unknown (4294967295)");
}

TEST(SubscriptionTypeTest, TheNumbersAreContract) {
    EXPECT_EQ(qz::sub::everyWrite, 0u);
    EXPECT_EQ(qz::sub::attributes, 3u);
    EXPECT_EQ(qz::sub::changes, 15u);
}

} // namespace
