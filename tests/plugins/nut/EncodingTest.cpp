#include "plugins/nut/Encoding.h"

#include "plugins/nut/Codecs.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace velk::nut {
namespace {

std::string encoded(const Codec& codec, const Value& asked, const std::string& present = "",
                    const VariableLimits& limits = {}) {
    try {
        return encode(codec, asked, present, limits);
    } catch (const std::runtime_error& failure) {
        return std::string{"refused: "} + failure.what();
    }
}

TEST(EncodingTest, NumberIsWrittenPlainly) {
    EXPECT_EQ(encoded(number(), 21.5F), "21.5");
    EXPECT_EQ(encoded(delay(), std::int32_t{-1}), "-1");
    EXPECT_EQ(encoded(source(), std::uint32_t{2}), "2");
}

TEST(EncodingTest, YesOrNoKeepsTheStyleOfTheDevice) {
    EXPECT_EQ(encoded(flag(), true, "no"), "yes");
    EXPECT_EQ(encoded(flag(), false, "on"), "off");
    EXPECT_EQ(encoded(flag(), true, "disabled"), "enabled");
    EXPECT_EQ(encoded(flag(), true, "0"), "1");
    EXPECT_EQ(encoded(flag(), true, "?"), "yes");
}

TEST(EncodingTest, StateIsWrittenAsTheWordThatTheServerLists) {
    EXPECT_EQ(encoded(sensitivity(), std::uint32_t{2}), "high");
    VariableLimits limits;
    limits.words = {"N", "L", "H", "medium"};
    EXPECT_EQ(encoded(sensitivity(), std::uint32_t{2}, "L", limits), "H");
    EXPECT_EQ(encoded(sensitivity(), std::uint32_t{1}, "L", limits), "medium");
}

TEST(EncodingTest, StateIsWrittenAsALetterWhereNoWordFits) {
    VariableLimits limits;
    limits.maxLength = 1;
    EXPECT_EQ(encoded(sensitivity(), std::uint32_t{1}, "normal", limits), "M");
    EXPECT_EQ(encoded(sensitivity(), std::uint32_t{2}, "M", limits), "H");
    EXPECT_EQ(encoded(sensitivity(), std::uint32_t{3}, "M", limits), "L");
}

TEST(EncodingTest, NumberIsWrittenAsTheServerSpellsIt) {
    VariableLimits limits;
    limits.words = {"010", "020", "030"};
    EXPECT_EQ(encoded(delay(), std::int32_t{20}, "010", limits), "020");
    EXPECT_EQ(encoded(delay(), std::int32_t{25}, "010", limits),
              "refused: 25 is no value that the device takes");
}

TEST(EncodingTest, ValueOfAnotherTypeIsRefused) {
    EXPECT_EQ(encoded(number(), std::int32_t{20}), "refused: 20 is no value that the device takes");
    EXPECT_EQ(encoded(flag(), std::uint32_t{1}), "refused: 1 is no value that the device takes");
    EXPECT_EQ(encoded(sensitivity(), std::uint32_t{9}), "refused: 9 is no value that the device takes");
}

TEST(EncodingTest, ValueOutOfRangeIsRefused) {
    VariableLimits limits;
    limits.ranges = {{"10", "20"}, {"40", "50"}};
    EXPECT_EQ(encoded(number(), 20.0F, "", limits), "20");
    EXPECT_EQ(encoded(number(), 45.0F, "", limits), "45");
    EXPECT_EQ(encoded(number(), 30.0F, "", limits), "refused: 30 is not from 10 to 20");
}

TEST(EncodingTest, TextThatIsTooLongIsRefused) {
    VariableLimits limits;
    limits.maxLength = 4;
    const Codec text{decodeText, {}, {}};
    EXPECT_EQ(encoded(text, std::string{"rack"}, "", limits), "rack");
    EXPECT_EQ(encoded(text, std::string{"rack3"}, "", limits),
              "refused: \"rack3\" is longer than the 4 characters that fit");
}

} // namespace
} // namespace velk::nut
