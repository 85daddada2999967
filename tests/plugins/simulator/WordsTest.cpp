#include "plugins/simulator/simctl/Words.h"

#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>

namespace velk::simulator::simctl {
namespace {

TEST(WordsTest, MembersAreNumbersFlagsAndTextsAsTheyLook) {
    EXPECT_EQ(commandOf({"mains", "state=lost", "input=1"}), R"({"do":"mains","state":"lost","input":1})");
    EXPECT_EQ(commandOf({"battery", "failed=true", "charge=50.5"}),
              R"({"do":"battery","failed":true,"charge":50.5})");
    EXPECT_EQ(commandOf({"fault", "kind=slow", "ms=50"}), R"({"do":"fault","kind":"slow","ms":50})");
}

TEST(WordsTest, TextsStayTextsWhenTheyLookLikeNumbers) {
    EXPECT_EQ(commandOf({"identity", "firmwareVersion=2.10", "serialNumber=007"}),
              R"({"do":"identity","firmwareVersion":"2.10","serialNumber":"007"})");
    EXPECT_EQ(commandOf({"say", "5"}), R"({"do":"say","text":"5"})");
}

TEST(WordsTest, MainMembersNeedNoName) {
    EXPECT_EQ(commandOf({"get", "Status.Mode"}), R"({"do":"get","path":"Status.Mode"})");
    EXPECT_EQ(commandOf({"set", "A.Setting.B", "20"}), R"({"do":"set","path":"A.Setting.B","value":20})");
    EXPECT_EQ(commandOf({"set", "A.Setting.B", "\"20\""}),
              R"({"do":"set","path":"A.Setting.B","value":"20"})");
    EXPECT_EQ(commandOf({"set", "A.Setting.B", "left"}),
              R"({"do":"set","path":"A.Setting.B","value":"left"})");
    EXPECT_EQ(commandOf({"advance", "30"}), R"({"do":"advance","seconds":30})");
    EXPECT_EQ(commandOf({"clear"}), R"({"do":"clear"})");
    EXPECT_EQ(commandOf({"say", "a = b"}), R"({"do":"say","text":"a = b"})");
}

TEST(WordsTest, ScenarioOfThisFolderIsNamedAbsolutely) {
    const velk::testing::TemporaryDirectory folder;
    const std::string file = (folder / "s.json").string();
    std::ofstream{file} << "{}";
    EXPECT_EQ(commandOf({"play", file}), R"({"do":"play","scenario":")" + file + "\"}");
    EXPECT_EQ(commandOf({"play", "demo-of-elsewhere.json"}),
              R"({"do":"play","scenario":"demo-of-elsewhere.json"})");
}

TEST(WordsTest, WordsThatMeanNothingAreRefused) {
    EXPECT_THROW(commandOf({}), UsageError);
    EXPECT_THROW(commandOf({"get", "A", "B"}), UsageError);
    EXPECT_THROW(commandOf({"log", "=3"}), UsageError);
    try {
        commandOf({"log", "three"});
        FAIL() << "taken";
    } catch (const UsageError& error) {
        EXPECT_STREQ(error.what(), "\"three\" is no name=value");
    }
}

} // namespace
} // namespace velk::simulator::simctl
