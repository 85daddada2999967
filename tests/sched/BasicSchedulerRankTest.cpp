#include "SchedulerFixture.h"

#include <map>

namespace {

using BasicSchedulerRankTest = SchedulerTest;

TEST_F(BasicSchedulerRankTest, RankIsTheNumberOfCyclesBetweenTwoRuns) {
    for (const std::uint32_t rank : {60U, 4U, 0U, 20U}) {
        pushNamed(rank, std::to_string(rank));
    }
    std::map<std::string, std::vector<int>> cyclesOf;
    int cycle = 0;
    for (const Names& names : run(122)) {
        ++cycle;
        for (const std::string& name : names) {
            cyclesOf[name].push_back(cycle);
        }
    }
    EXPECT_EQ(cyclesOf["0"].size(), 122U);
    EXPECT_EQ(cyclesOf["4"].size(), 24U);
    EXPECT_EQ(cyclesOf["4"].front(), 5);
    EXPECT_EQ(cyclesOf["4"].back(), 120);
    EXPECT_EQ(cyclesOf["20"], (std::vector<int>{21, 42, 63, 84, 105}));
    EXPECT_EQ(cyclesOf["60"], (std::vector<int>{61, 122}));
}

TEST_F(BasicSchedulerRankTest, NumberOfTasksDoesNotStretchARank) {
    for (int i = 0; i < 50; ++i) {
        pushNamed(0, "status");
        pushNamed(2, "measure");
    }
    const auto logs = run(6);
    for (int cycle = 1; cycle <= 6; ++cycle) {
        EXPECT_EQ(logs[cycle - 1].size(), cycle % 3 == 0 ? 100U : 50U) << "cycle " << cycle;
    }
}

TEST_F(BasicSchedulerRankTest, LowestRankThatExistsRunsInEveryCycle) {
    pushNamed(60, "a");
    pushNamed(60, "b");
    for (const Names& names : run(5)) {
        EXPECT_EQ(names.size(), 2U);
    }
}

TEST_F(BasicSchedulerRankTest, RanksAreRelative) {
    pushNamed(2, "low");
    pushNamed(5, "high");
    EXPECT_EQ(run(4), (std::vector<Names>{{"low"}, {"low"}, {"low"}, {"low", "high"}}));
}

TEST_F(BasicSchedulerRankTest, SmallerBaseRankStartsFirstInACycle) {
    pushNamed(1, "measure");
    pushNamed(0, "status");
    EXPECT_EQ(run(4),
              (std::vector<Names>{{"status"}, {"status", "measure"}, {"status"}, {"status", "measure"}}));
}

TEST_F(BasicSchedulerRankTest, TasksOfOneRankAllStartInTheSameCycle) {
    for (int i = 0; i < 10; ++i) {
        pushNamed(3, "task");
    }
    const auto logs = run(2);
    EXPECT_EQ(logs[0].size(), 10U);
    EXPECT_EQ(logs[1].size(), 10U);
}

} // namespace
