#include "platform/common/lwjson/Deserializer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::Node;
using velk::common::lwjson::Position;
using velk::common::lwjson::ValueType;

std::vector<std::string> names(const std::vector<Node>& nodes) {
    std::vector<std::string> result;
    for (const Node& node : nodes) {
        result.push_back(node.name());
    }
    return result;
}

std::vector<std::string> texts(const std::vector<Node>& nodes) {
    std::vector<std::string> result;
    for (const Node& node : nodes) {
        result.push_back(node.text());
    }
    return result;
}

void expectPosition(const Node& node, std::size_t line, std::size_t column) {
    EXPECT_EQ(node.position().line, line) << node.text();
    EXPECT_EQ(node.position().column, column) << node.text();
}

TEST(DeserializerTest, MembersKeepTheOrderOfTheText) {
    const Deserializer json{R"({"z": 1, "a": 2, "m": 3})"};
    EXPECT_EQ(names(json.members()), (std::vector<std::string>{"z", "a", "m"}));
}

TEST(DeserializerTest, DuplicatesAreKeptAndTheFirstIsFound) {
    const Deserializer json{R"({"a": 1, "b": 2, "a": 3})"};
    EXPECT_EQ(texts(json.members()), (std::vector<std::string>{"1", "2", "3"}));
    ASSERT_NE(json.findMember("a"), nullptr);
    EXPECT_EQ(json.findMember("a")->text(), "1");
}

TEST(DeserializerTest, AbsentMemberIsNull) {
    const Deserializer json{R"({"a": {"b": 1}})"};
    EXPECT_EQ(json.findMember("b"), nullptr);
    EXPECT_EQ(json.findMember(""), nullptr);
    EXPECT_EQ(json.findMember("a")->findMember("b")->text(), "1");
}

TEST(DeserializerTest, OnlyObjectsHaveNamedMembers) {
    EXPECT_EQ(Deserializer{R"([1, 2])"}.findMember(""), nullptr);
    EXPECT_EQ(Deserializer{R"("text")"}.findMember("text"), nullptr);
}

TEST(DeserializerTest, KindsAreToldApart) {
    const Deserializer json{R"([{}, [], "", 0, 0.0, true, false, null])"};
    const std::vector<ValueType> expected{ValueType::Object,  ValueType::Array, ValueType::String,
                                          ValueType::Integer, ValueType::Float, ValueType::Boolean,
                                          ValueType::Boolean, ValueType::Null};
    std::vector<ValueType> kinds;
    for (const Node& node : json.members()) {
        kinds.push_back(Deserializer::getValueType(node));
    }
    EXPECT_EQ(kinds, expected);
}

TEST(DeserializerTest, NumberIsAnIntegerWithoutPointAndExponent) {
    const Deserializer json{"[1, -1, 0, -0, 1.0, 1e2, 1E2, -1.5e-3, 1E+2]"};
    std::string kinds;
    for (const Node& node : json.members()) {
        kinds += node.getValueType() == ValueType::Integer ? 'i' : 'f';
    }
    EXPECT_EQ(kinds, "iiiifffff");
}

TEST(DeserializerTest, NumbersAndLiteralsKeepTheirSpelling) {
    const Deserializer json{"[1.50, -0, 1E+2, 0.10e-05, true, false, null]"};
    EXPECT_EQ(texts(json.members()),
              (std::vector<std::string>{"1.50", "-0", "1E+2", "0.10e-05", "true", "false", "null"}));
}

TEST(DeserializerTest, NumbersBeyondEveryTypeAreParsed) {
    const std::string huge(1000, '7');
    const std::string text =
        "[123456789012345678901234567890, -9223372036854775809, 1e999, -1e-99999999999, " + huge + ", " +
        huge + "." + huge + "E+" + huge + "]";
    const Deserializer json{text};
    EXPECT_EQ(texts(json.members()),
              (std::vector<std::string>{"123456789012345678901234567890", "-9223372036854775809", "1e999",
                                        "-1e-99999999999", huge, huge + "." + huge + "E+" + huge}));
    EXPECT_EQ(json.members()[0].getValueType(), ValueType::Integer);
    EXPECT_EQ(json.members()[1].getValueType(), ValueType::Integer);
    EXPECT_EQ(json.members()[2].getValueType(), ValueType::Float);
    EXPECT_EQ(json.members()[4].getValueType(), ValueType::Integer);
}

TEST(DeserializerTest, DigitsInAStringAreAllKept) {
    const std::string digits = "\\\"" + std::string(1000, '1') + "\\\\e" + std::string(10, '2');
    const Deserializer json{"[\"" + digits + "\", 1e22, \"e\", 333]"};
    EXPECT_EQ(texts(json.members()),
              (std::vector<std::string>{"\"" + std::string(1000, '1') + "\\e" + std::string(10, '2'), "1e22",
                                        "e", "333"}));
}

TEST(DeserializerTest, StringsAreUnescaped) {
    const Deserializer json{R"(["\"\\\/\b\f\n\r\t", "\u00e9\u20AC\ud83d\ude00", "a\u0000b"])"};
    EXPECT_EQ(texts(json.members()),
              (std::vector<std::string>{"\"\\/\b\f\n\r\t", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
                                        std::string{"a\0b", 3}}));
}

TEST(DeserializerTest, NamesAreUnescaped) {
    const Deserializer json{R"({"a\"\u0062": 1})"};
    EXPECT_EQ(names(json.members()), (std::vector<std::string>{"a\"b"}));
}

TEST(DeserializerTest, Utf8IsKept) {
    const Deserializer json{"{\"\xC3\xA9\": \"\xE2\x82\xAC \xF0\x9F\x98\x80\"}"};
    EXPECT_EQ(json.members().front().name(), "\xC3\xA9");
    EXPECT_EQ(json.members().front().text(), "\xE2\x82\xAC \xF0\x9F\x98\x80");
}

TEST(DeserializerTest, ObjectsAndArraysGiveTheirSourceSlice) {
    const Deserializer json{"{ \"a\" : [ 1,2 , {\"b\":\"]}\"} ] ,\n \"c\":{ } }  \n"};
    EXPECT_EQ(json.root().text(), "{ \"a\" : [ 1,2 , {\"b\":\"]}\"} ] ,\n \"c\":{ } }");
    EXPECT_EQ(json.findMember("a")->text(), "[ 1,2 , {\"b\":\"]}\"} ]");
    EXPECT_EQ(json.findMember("a")->members().back().text(), "{\"b\":\"]}\"}");
    EXPECT_EQ(json.findMember("c")->text(), "{ }");
}

TEST(DeserializerTest, OnlyMembersHaveNames) {
    const Deserializer json{R"({"list": [[1], {"a": 2}, "x"]})"};
    EXPECT_EQ(json.root().name(), "");
    EXPECT_EQ(names(json.members()), (std::vector<std::string>{"list"}));
    EXPECT_EQ(names(json.members().front().members()), (std::vector<std::string>{"", "", ""}));
}

TEST(DeserializerTest, ValuesWithoutMembersHaveNone) {
    EXPECT_TRUE(Deserializer{"\"text\""}.members().empty());
    EXPECT_TRUE(Deserializer{"1"}.members().empty());
    EXPECT_TRUE(Deserializer{"{}"}.members().empty());
}

TEST(DeserializerTest, EveryValueMayStandAlone) {
    EXPECT_EQ(Deserializer{" 17 "}.root().asInt32(), 17);
    EXPECT_EQ(Deserializer{"\"x\""}.root().asString(), "x");
    EXPECT_EQ(Deserializer{"null"}.root().getValueType(), ValueType::Null);
}

TEST(DeserializerTest, PositionIsWhereTheValueBegins) {
    const Deserializer json{"\n  {\"a\": 1,\n\t\"b\" :\n[ true,\"x\" ,{}]\r\n, \"c\": -2.5}"};
    expectPosition(json.root(), 2, 3);
    expectPosition(*json.findMember("a"), 2, 9);
    expectPosition(*json.findMember("b"), 4, 1);
    expectPosition(json.findMember("b")->members()[0], 4, 3);
    expectPosition(json.findMember("b")->members()[1], 4, 8);
    expectPosition(json.findMember("b")->members()[2], 4, 13);
    expectPosition(*json.findMember("c"), 5, 8);
}

TEST(DeserializerTest, ColumnsCountBytes) {
    const Deserializer json{"[\"\xC3\xA9,:\", 1]"};
    expectPosition(json.members()[1], 1, 10);
}

TEST(DeserializerTest, NodesOutliveTheTextAndAMoveOfTheirOwner) {
    auto text = std::make_unique<std::string>(R"({"a": {"b": "some text that is long enough"}})");
    Deserializer json{*text};
    const Node* const found = json.findMember("a")->findMember("b");
    text.reset();
    const Deserializer moved{std::move(json)};
    EXPECT_EQ(found->text(), "some text that is long enough");
    EXPECT_EQ(moved.findMember("a")->findMember("b"), found);
}

TEST(DeserializerTest, NestingUpToTheLimitIsRead) {
    const std::size_t depth = Deserializer::MAX_DEPTH;
    const Deserializer json{std::string(depth, '[') + std::string(depth, ']')};
    EXPECT_EQ(json.root().text().size(), 2 * depth);
}

} // namespace
