#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include "powerdistribution/core/Paths.h"
#include "powerdistribution/protocols/RuleFunctions.h"
#include "powerdistribution/protocols/RuleTable.h"
#include "testing/FakeProtocol.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <any>
#include <stdexcept>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakeProtocol;
using velk::testing::FakeWrapperFactory;
using Node = EPath::Node;

ValueWrapperPtr nothing(const Rule::BuildFuncParameters&) {
    return nullptr;
}

/// What a walk for `path` over `rules` reads: the constant of the leaf that answered, or empty for null.
Value walk(const std::vector<Rule>& rules, const EPath& path) {
    const FakeWrapperFactory factory;
    const std::any none;
    Rule::ExecutionParameters parameters{path, 0, factory, nullptr, none};
    const auto wrapper = RuleBasedWrapperBuilder{rules}.buildWrapper(parameters);
    EXPECT_EQ(parameters.depth, 0u) << "the walk must give the depth back";
    return wrapper ? wrapper->read() : Value{};
}

bool matches(Node rule, Node asked) {
    return walk({Rule{std::move(rule), make_static(1u)}}, {asked}).hasValue();
}

const Value SERVED{1u};

TEST(RuleTest, AnyIndexOfThePathMatchesEveryRule) {
    EXPECT_TRUE(matches(5u, anyIndex));
    EXPECT_TRUE(matches(oneTo(4), anyIndex));
    EXPECT_TRUE(matches(anyIndex, anyIndex));
    EXPECT_TRUE(matches(EStatus::Mode, anyIndex));
}

TEST(RuleTest, AnyIndexOfTheRuleMatchesEveryPath) {
    EXPECT_TRUE(matches(anyIndex, 5u));
    EXPECT_TRUE(matches(anyIndex, oneTo(4)));
    EXPECT_TRUE(matches(anyIndex, EStatus::Mode));
}

TEST(RuleTest, RangeOfTheRuleHoldsItsEnds) {
    EXPECT_TRUE(matches(oneTo(128), 1u));
    EXPECT_TRUE(matches(oneTo(128), 128u));
    EXPECT_FALSE(matches(oneTo(128), 0u));
    EXPECT_FALSE(matches(oneTo(128), 129u));
}

TEST(RuleTest, RangeOfThePathHoldsTheIndexOfTheRule) {
    const velk::common::TRange<unsigned int> twoToFive{2, 5};
    EXPECT_TRUE(matches(3u, twoToFive));
    EXPECT_TRUE(matches(2u, twoToFive));
    EXPECT_TRUE(matches(5u, twoToFive));
    EXPECT_FALSE(matches(6u, twoToFive));
    EXPECT_FALSE(matches(1u, twoToFive));
}

TEST(RuleTest, RangesMatchOnlyWhenEqual) {
    EXPECT_TRUE(matches(oneTo(4), oneTo(4)));
    EXPECT_FALSE(matches(oneTo(8), oneTo(4)));
}

TEST(RuleTest, VocabularyMemberMatchesOnlyItself) {
    EXPECT_TRUE(matches(EStatus::Mode, EStatus::Mode));
    EXPECT_FALSE(matches(EStatus::Mode, EStatus::Supply));
    EXPECT_FALSE(matches(ESetting::AudibleAlarmControl, EStatus::BmsFailure)) << "same number, other list";
    EXPECT_FALSE(matches(EStatus::BmsFailure, 1u));
    EXPECT_FALSE(matches(1u, EStatus::BmsFailure));
}

TEST(RuleBasedWrapperBuilderTest, EmptyTableServesNothing) {
    EXPECT_EQ(walk({}, {EStatus::Mode}), Value{});
}

TEST(RuleBasedWrapperBuilderTest, EmptyPathIsNotServed) {
    EXPECT_EQ(walk({Rule{anyIndex, make_static(1u)}}, {}), Value{});
}

TEST(RuleBasedWrapperBuilderTest, OnlyWholePathsAreServed) {
    const std::vector<Rule> rules{Rule{ECircuit::Inputs, {Rule{1u, {Rule{EStatus::Used, make_static(1u)}}}}}};
    EXPECT_EQ(walk(rules, {ECircuit::Inputs, 1u, EStatus::Used}), SERVED);
    EXPECT_EQ(walk(rules, {ECircuit::Inputs, 1u}), Value{});
    EXPECT_EQ(walk(rules, {ECircuit::Inputs, 1u, EStatus::Used, EStatus::Used}), Value{});
}

TEST(RuleBasedWrapperBuilderTest, FirstRuleHidesALaterOne) {
    const std::vector<Rule> rules{Rule{oneTo(9), make_static(1u)}, Rule{3u, make_static(2u)}};
    EXPECT_EQ(walk(rules, {3u}), Value{1u});
}

TEST(RuleBasedWrapperBuilderTest, LaterRuleAnswersWhereAnEarlierOneFailedLowerDown) {
    const std::vector<Rule> rules{
        Rule{ECircuit::Inputs, {Rule{EStatus::Used, nothing}}},
        Rule{ECircuit::Inputs, {Rule{EStatus::Mode, make_static(1u)}, Rule{EStatus::Used, make_static(2u)}}}};
    EXPECT_EQ(walk(rules, {ECircuit::Inputs, EStatus::Used}), Value{2u});
}

TEST(RuleBasedWrapperBuilderTest, FirstFunctionThatGivesAWrapperWins) {
    const std::vector<BuildFunc> functions{BuildFunc{}, nothing, make_static(1u), make_static(2u)};
    EXPECT_EQ(walk({Rule{1u, std::vector<BuildFunc>{functions}}}, {1u}), Value{1u});
    EXPECT_EQ(walk({Rule{1u, std::vector<BuildFunc>{nothing, nothing}}}, {1u}), Value{});
}

TEST(RuleBasedWrapperBuilderTest, RuleThatIsBothAnswersEachDepthByItsOwnPart) {
    const std::vector<Rule> rules{Rule{ECircuit::Inputs, std::any{}, make_static(1u),
                                       std::vector<Rule>{Rule{EStatus::Used, make_static(2u)}}}};
    EXPECT_EQ(walk(rules, {ECircuit::Inputs}), Value{1u});
    EXPECT_EQ(walk(rules, {ECircuit::Inputs, EStatus::Used}), Value{2u});
    EXPECT_EQ(walk(rules, {ECircuit::Inputs, EStatus::Mode}), Value{})
        << "its own functions do not stand in for a child";
}

TEST(RuleBasedWrapperBuilderTest, FunctionsGetPathFactoryProtocolAndBothArguments) {
    const FakeWrapperFactory factory;
    const auto protocol = std::make_shared<FakeProtocol>();
    const EPath path{ECircuit::Inputs, EStatus::Used};
    const std::any ofWalk{std::string{"walk"}};
    int calls = 0;
    const BuildFunc look = [&](const Rule::BuildFuncParameters& given) -> ValueWrapperPtr {
        ++calls;
        EXPECT_EQ(&given.path, &path);
        EXPECT_EQ(&given.factory, &factory);
        EXPECT_EQ(given.protocol, protocol);
        EXPECT_EQ(std::any_cast<int>(*given.arguments.first), 42);
        EXPECT_EQ(std::any_cast<std::string>(*given.arguments.second), "walk");
        return nullptr;
    };
    const std::vector<Rule> rules{
        Rule{ECircuit::Inputs,
             {Rule{EStatus::Used, std::any{42}, BuildFunc{look}},
              Rule{EStatus::Used, std::any{42}, std::vector<BuildFunc>{look}},
              Rule{EStatus::Used, std::vector<Rule>{}, std::any{42}, std::vector<BuildFunc>{look}}}}};
    Rule::ExecutionParameters parameters{path, 0, factory, protocol, ofWalk};
    EXPECT_EQ(RuleBasedWrapperBuilder{rules}.buildWrapper(parameters), nullptr);
    EXPECT_EQ(calls, 3);
}

TEST(RuleBasedWrapperBuilderTest, FailureOfAFunctionPasses) {
    const std::vector<Rule> rules{Rule{1u, [](const Rule::BuildFuncParameters&) -> ValueWrapperPtr {
                                           throw std::invalid_argument{"impossible path"};
                                       }}};
    EXPECT_THROW(walk(rules, {1u}), std::invalid_argument);
}

TEST(RuleBasedWrapperBuilderTest, WalkCopiesNoRule) {
    const auto state = std::make_shared<int>();
    const std::vector<Rule> rules{
        Rule{ECircuit::Inputs, {Rule{EStatus::Used, [state](const Rule::BuildFuncParameters&) {
                                         EXPECT_EQ(state.use_count(), 2);
                                         return ValueWrapperPtr{};
                                     }}}}};
    ASSERT_EQ(state.use_count(), 2) << "the test's and the table's";
    EXPECT_EQ(walk(rules, {ECircuit::Inputs, EStatus::Used}), Value{});
}

TEST(RuleTest, CopyIsDeep) {
    const std::vector<Rule> rules{Rule{ECircuit::Inputs, {Rule{EStatus::Used, make_static(1u)}}}};
    std::vector<Rule> copy = rules;
    copy[0].children[0].buildFunctions[0] = make_static(2u);
    EXPECT_EQ(walk(rules, {ECircuit::Inputs, EStatus::Used}), Value{1u});
    EXPECT_EQ(walk(copy, {ECircuit::Inputs, EStatus::Used}), Value{2u});
}

TEST(RuleTableTest, LinesShareTheRulesOfTheLineBefore) {
    const auto forest = growRules({
        {{ECircuit::BackupSystem, ECircuit::PowerBank, ECircuit::Chargers, oneTo(2)}, make_static(1u)},
        {{ECircuit::BackupSystem, ECircuit::PowerBank, ECircuit::StorageModules, oneTo(2)}, make_static(2u)},
    });
    ASSERT_EQ(forest.size(), 1u);
    ASSERT_EQ(forest[0].children.size(), 1u);
    EXPECT_EQ(forest[0].children[0].children.size(), 2u);
    EXPECT_TRUE(forest[0].buildFunctions.empty());
    EXPECT_EQ(walk(forest, {ECircuit::BackupSystem, ECircuit::PowerBank, ECircuit::StorageModules, 2u}),
              Value{2u});
}

TEST(RuleTableTest, LinesAreTriedInTheOrderOfTheTable) {
    const auto forest = growRules({
        {{ECircuit::Inputs, 1u}, make_static(1u)},
        {{ECircuit::Inputs, anyIndex}, make_static(2u)},
        {{ECircuit::Inputs, 1u}, make_static(3u)},
        {{ECircuit::Inputs, 2u}, make_static(4u)},
    });
    EXPECT_EQ(walk(forest, {ECircuit::Inputs, 1u}), Value{1u});
    EXPECT_EQ(walk(forest, {ECircuit::Inputs, 2u}), Value{2u});
}

TEST(RuleTableTest, AnyIndexAndIndexStaySeparateRules) {
    const auto forest = growRules({
        {{anyIndex, EStatus::Mode}, make_static(1u)},
        {{2u, EStatus::Used}, make_static(2u)},
    });
    EXPECT_EQ(walk(forest, {2u, EStatus::Used}), Value{2u});
    EXPECT_EQ(walk(forest, {3u, EStatus::Used}), Value{});
}

TEST(RuleTableTest, LinesWithOnePathBecomeOneRuleWithSeveralFunctions) {
    const auto forest = growRules({
        {{ECircuit::Inputs}, nothing},
        {{ECircuit::Inputs}, make_static(2u)},
        {{ECircuit::Inputs, 1u}, make_static(3u)},
    });
    ASSERT_EQ(forest.size(), 1u);
    EXPECT_EQ(walk(forest, {ECircuit::Inputs}), Value{2u});
    EXPECT_EQ(walk(forest, {ECircuit::Inputs, 1u}), Value{3u});
}

TEST(RuleTableTest, LineWithoutPathIsAMistake) {
    EXPECT_THROW(growRules({{{}, nothing}}), std::out_of_range);
}

} // namespace
