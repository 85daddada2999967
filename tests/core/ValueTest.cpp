#include "powerdistribution/core/Value.h"

#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>

namespace velk::powerdistribution {
namespace {

std::string printed(const Value& value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

TEST(ValueTest, EmptyValuePrintsAsEmpty) {
    EXPECT_EQ(printed(Value{}), "empty");
    Value value{true};
    value.reset();
    EXPECT_EQ(printed(value), "empty");
}

TEST(ValueTest, EachAlternativeHasItsPrintedForm) {
    EXPECT_EQ(printed(Value{true}), "1");
    EXPECT_EQ(printed(Value{false}), "0");
    EXPECT_EQ(printed(Value{std::int32_t{-5}}), "-5");
    EXPECT_EQ(printed(Value{std::uint32_t{4294967295U}}), "4294967295");
    EXPECT_EQ(printed(Value{230.5F}), "230.5");
    EXPECT_EQ(printed(Value{1234567.0F}), "1.23457e+06");
    EXPECT_EQ(printed(Value{conv::UnixTime{1706704496U}}), "2024-01-31T12:34:56.000Z");
    EXPECT_EQ(printed(Value{std::string{"a \"b\""}}), "a \"b\"");
    EXPECT_EQ(printed(Value{EPath{ECircuit::Inputs, 2U}}), "path=Inputs.2");
    EXPECT_EQ(printed(Value{EPath{}}), "path=Null");
    const velk::common::Uuid uuid{"00112233-4455-6677-8899-aabbccddeeff"};
    EXPECT_EQ(printed(Value{uuid}), "00112233-4455-6677-8899-aabbccddeeff");
    EXPECT_EQ(printed(Value{InternalLogChunk{}}), "internal log chunk=Internal Log Chunk= NULL");
}

TEST(ValueTest, BinaryBlockPrintsAsTheUuidOfItsBytesWhateverItsLength) {
    EXPECT_EQ(printed(Value{BinaryBlock{}}), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(printed(Value{BinaryBlock{0xab, 0xcd}}), "abcd0000-0000-0000-0000-000000000000");
    EXPECT_EQ(printed(Value{BinaryBlock(20, 0x11)}), "11111111-1111-1111-1111-111111111111");
}

TEST(ValueTest, TypeNamesAreThoseOfTheMessages) {
    EXPECT_EQ(typeName(Value{}), "empty");
    EXPECT_EQ(typeName(Value{true}), "bool");
    EXPECT_EQ(typeName(Value{std::int32_t{1}}), "int32_t");
    EXPECT_EQ(typeName(Value{std::uint32_t{1}}), "uint32_t");
    EXPECT_EQ(typeName(Value{1.0F}), "float");
    EXPECT_EQ(typeName(Value{conv::UnixTime{}}), "UnixTime");
    EXPECT_EQ(typeName(Value{std::string{}}), "std::string");
    EXPECT_EQ(typeName(Value{EPath{}}), "EPath");
    EXPECT_EQ(typeName(Value{velk::common::Uuid{}}), "Uuid");
    EXPECT_EQ(typeName(Value{BinaryBlock{}}), "BinaryBlock");
    EXPECT_EQ(typeName(Value{InternalLogChunk{}}), "InternalLogChunk");
    EXPECT_EQ(typeName(10), "unknown");
}

TEST(ValueTest, EmptyValuesAreEqualAndDifferFromFilledOnes) {
    EXPECT_EQ(Value{}, Value{});
    EXPECT_FALSE(Value{} == Value{false});
    EXPECT_FALSE(Value{std::string{}} == Value{});
}

TEST(ValueTest, SameContentInAnotherAlternativeDiffers) {
    EXPECT_FALSE(Value{1.0F} == Value{std::uint32_t{1}});
    EXPECT_FALSE(Value{std::int32_t{5}} == Value{std::uint32_t{5}});
    EXPECT_EQ(Value{std::uint32_t{5}}, Value{std::uint32_t{5}});
}

TEST(ValueTest, FailedAssignmentLeavesTheValueAsItWas) {
    // Moving never throws, so a copy is made before the old value goes, and no visit ever finds none.
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<Value>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<Value>);
    EXPECT_TRUE(std::is_trivially_copyable_v<EPath::Node>);
}

TEST(ValueTest, PathsInValuesCompareAsPatterns) {
    const Value any{EPath{ECircuit::Inputs, velk::common::TAny{}}};
    const Value second{EPath{ECircuit::Inputs, 2U}};
    EXPECT_EQ(any, second);
}

TEST(ValueTest, AskingForAnotherAlternativeIsAnUnexpectedIndex) {
    EXPECT_EQ(Value{7.5F}.get<float>(), 7.5F);
    EXPECT_EQ(Value{7.5F}.getIf<bool>(), nullptr);
    for (const Value& value : {Value{}, Value{true}}) {
        try {
            static_cast<void>(value.get<float>());
            FAIL() << "no exception";
        } catch (const std::bad_variant_access& failure) {
            EXPECT_STREQ(failure.what(), "Unexpected index");
        }
    }
}

} // namespace
} // namespace velk::powerdistribution
