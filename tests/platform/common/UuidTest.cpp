#include "platform/common/Uuid.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <unordered_set>

namespace {

using velk::common::BinaryBlock;
using velk::common::Uuid;

const Uuid NAMESPACE_DNS{"6ba7b810-9dad-11d1-80b4-00c04fd430c8"};
const Uuid NAMESPACE_URL{"6ba7b811-9dad-11d1-80b4-00c04fd430c8"};

TEST(UuidTest, IsNilByDefault) {
    EXPECT_TRUE(Uuid{}.isNil());
    EXPECT_EQ(Uuid{}, Uuid::NIL);
    EXPECT_EQ(Uuid{}.toString(), "00000000-0000-0000-0000-000000000000");
}

TEST(UuidTest, TextKeepsTheOrderOfTheBytes) {
    const Uuid uuid{"00112233-4455-6677-8899-aabbccddeeff"};
    const Uuid::Bytes expected{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                               0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff};
    EXPECT_EQ(uuid.data(), expected);
    EXPECT_EQ(uuid.toString(), "00112233-4455-6677-8899-aabbccddeeff");
    EXPECT_FALSE(uuid.isNil());
}

TEST(UuidTest, UpperCaseIsParsedAndPrintedInLowerCase) {
    std::ostringstream stream;
    stream << Uuid{"F81D4FAE-7DEC-11D0-A765-00A0C91E6BF6"};
    EXPECT_EQ(stream.str(), "f81d4fae-7dec-11d0-a765-00a0c91e6bf6");
}

TEST(UuidTest, TakesTextOfEveryKind) {
    const std::string text{"f81d4fae-7dec-11d0-a765-00a0c91e6bf6"};
    EXPECT_EQ(Uuid{text}, Uuid{text.c_str()});
    EXPECT_EQ(Uuid{text}, Uuid{std::string_view{text}});
}

class RefusedUuidTest : public testing::TestWithParam<const char*> {};

TEST_P(RefusedUuidTest, ThrowsAnInvalidArgumentThatShowsTheText) {
    const std::string text{GetParam()};
    try {
        const Uuid uuid{text};
        FAIL() << "accepted as " << uuid;
    } catch (const std::invalid_argument& failure) {
        EXPECT_EQ(failure.what(), "\"" + text + "\" is not a UUID");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RefusedUuidTest,
    testing::Values("", "nil", "f81d4fae7dec11d0a76500a0c91e6bf6", "{f81d4fae-7dec-11d0-a765-00a0c91e6bf6}",
                    "f81d4fae-7dec-11d0-a765-00a0c91e6bf", "f81d4fae-7dec-11d0-a765-00a0c91e6bf66",
                    " 81d4fae-7dec-11d0-a765-00a0c91e6bf6", "f81d4fae-7dec-11d0-a765-00a0c91e6bfg",
                    "f81d4fae-7dec-11d0-a765-00a0c91e6bf`", "f81d4fae-7dec-11d0-a765-00a0c91e6bf@",
                    "f81d4fae-7dec-11d0-a765-00a0c91e6bf:", "f81d4fae-7dec-11d0-a765-00a0c91e6bf/",
                    "f81d4fae07dec-11d0-a765-00a0c91e6bf6", "f81d4fae-7dec-11d0-a76500-a0c91e6bf6",
                    "-f81d4fae7dec-11d0-a765-00a0c91e6bf6"));

TEST(UuidTest, NameBasedIdentifiersAreVersionFive) {
    EXPECT_EQ(Uuid(NAMESPACE_DNS, "www.example.com"), Uuid{"2ed6657d-e927-568b-95e1-2665a8aea6a2"});
    EXPECT_EQ(Uuid(NAMESPACE_DNS, "python.org"), Uuid{"886313e1-3b8a-5372-9b90-0c9aee199e5d"});
}

TEST(UuidTest, NamesMayBeEmptyLongOrOutsideAscii) {
    EXPECT_EQ(Uuid(NAMESPACE_URL, ""), Uuid{"1b4db7eb-4057-5ddf-91e0-36dec72071f5"});
    EXPECT_EQ(Uuid(NAMESPACE_URL, std::string(1000, 'x')), Uuid{"68491f23-75a7-557d-943b-00881c13ae1e"});
    EXPECT_EQ(Uuid(NAMESPACE_DNS, "M\xC3\xBCller"), Uuid{"1bcce1ae-2005-558d-8177-dc0255675b8c"});
}

TEST(UuidTest, NamespaceOfTheSystemIsFixed) {
    EXPECT_EQ(Uuid::VELK_NAMESPACE.toString(), "6f1d0c52-935e-4b0a-8c27-51d4e83a9b76");
    EXPECT_EQ(Uuid(Uuid::VELK_NAMESPACE, "nut:127.0.0.1:3493:u1"),
              Uuid{"e2623398-ecf2-5bcf-9d9c-ec6138d8c681"});
}

TEST(UuidTest, BlockOfSixteenBytesIsTakenAsItIs) {
    const BinaryBlock block{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(Uuid{block}, Uuid{"01020304-0506-0708-090a-0b0c0d0e0f10"});
}

TEST(UuidTest, LongerBlockIsCutAndShorterOneFilledUpWithZeros) {
    EXPECT_EQ(Uuid{BinaryBlock(20, 0xAB)}, Uuid{"abababab-abab-abab-abab-abababababab"});
    EXPECT_EQ(Uuid{(BinaryBlock{0xFF, 0x01})}, Uuid{"ff010000-0000-0000-0000-000000000000"});
    EXPECT_TRUE(Uuid{BinaryBlock{}}.isNil());
}

TEST(UuidTest, OrderIsThatOfTheBytes) {
    EXPECT_LT(Uuid{"00000000-0000-0000-0000-0000000000ff"}, Uuid{"00000000-0000-0000-0000-000000000100"});
    EXPECT_LT(Uuid::NIL, Uuid::VELK_NAMESPACE);
    EXPECT_NE(Uuid::NIL, Uuid::VELK_NAMESPACE);
}

TEST(UuidTest, ServesAsAKeyOfAHashTable) {
    const std::unordered_set<Uuid> known{NAMESPACE_DNS, NAMESPACE_URL, NAMESPACE_DNS};
    EXPECT_EQ(known.size(), 2U);
    EXPECT_TRUE(known.contains(Uuid{"6ba7b810-9dad-11d1-80b4-00c04fd430c8"}));
    EXPECT_FALSE(known.contains(Uuid::NIL));
}

} // namespace
