#include "platform/common/ProcessMark.h"

#include <gtest/gtest.h>

#include <fstream>
#include <spawn.h>
#include <sys/wait.h>

namespace velk::common {
namespace {

/// This process's mark with one field put differently.
std::string markWith(const std::string& name, const std::string& value) {
    std::string mark = ProcessMark::ofThisProcess();
    const auto begin = mark.find(name + "=") + name.size() + 1;
    const auto end = mark.find(' ', begin);
    return mark.replace(begin, end == std::string::npos ? end : end - begin, value);
}

TEST(ProcessMarkTest, TellsNumberStartBootSpaceAndMachine) {
    const std::string mark = ProcessMark::ofThisProcess();
    EXPECT_EQ(mark.rfind("pid=" + std::to_string(getpid()) + " start=", 0), 0U) << mark;
    EXPECT_NE(mark.find(" boot="), std::string::npos);
    EXPECT_NE(mark.find(" space=pid:["), std::string::npos);
    EXPECT_NE(mark.find(" machine="), std::string::npos);
}

TEST(ProcessMarkTest, IdentifierOfTheMachineIsNotGivenAway) {
    std::ifstream file{"/etc/machine-id"};
    std::string id;
    std::getline(file, id);
    if (id.empty()) {
        id = "a machine without an identifier";
    }
    EXPECT_EQ(ProcessMark::ofThisProcess().find(id), std::string::npos);
}

TEST(ProcessMarkTest, ProcessOfAnotherMachineMayRunWhateverItsBoot) {
    const std::string other = markWith("machine", "11111111-2222-3333-4444-555555555555");
    EXPECT_TRUE(ProcessMark::mayRun(other));
    const auto boot = other.find("boot=") + 5;
    EXPECT_TRUE(
        ProcessMark::mayRun(std::string{other}.replace(boot, 36, "11111111-2222-3333-4444-555555555555")));
}

TEST(ProcessMarkTest, WhereOnlyThisMachineIsPossibleAMarkOfAnotherOneIsGone) {
    const auto here = ProcessMark::Origin::thisMachine;
    EXPECT_TRUE(ProcessMark::mayRun(ProcessMark::ofThisProcess(), here));
    const std::string inContainer = markWith("machine", "11111111-2222-3333-4444-555555555555");
    EXPECT_TRUE(ProcessMark::mayRun(inContainer, here)) << "of the same boot";
    const auto boot = inContainer.find("boot=") + 5;
    EXPECT_FALSE(ProcessMark::mayRun(
        std::string{inContainer}.replace(boot, 36, "11111111-2222-3333-4444-555555555555"), here));
}

TEST(ProcessMarkTest, MarkWithoutAMachineIsOfThisOne) {
    const std::string mark = ProcessMark::ofThisProcess();
    const std::string old = mark.substr(0, mark.find(" machine="));
    EXPECT_TRUE(ProcessMark::mayRun(old));
    const auto boot = old.find("boot=") + 5;
    EXPECT_FALSE(
        ProcessMark::mayRun(std::string{old}.replace(boot, 36, "11111111-2222-3333-4444-555555555555")));
}

TEST(ProcessMarkTest, ThisProcessRuns) {
    EXPECT_TRUE(ProcessMark::mayRun(ProcessMark::ofThisProcess()));
}

TEST(ProcessMarkTest, AnotherProcessWithTheSameNumberIsNotTakenForIt) {
    EXPECT_FALSE(ProcessMark::mayRun(markWith("start", "1")));
}

TEST(ProcessMarkTest, ProcessOfAnEarlierBootHasEnded) {
    EXPECT_FALSE(ProcessMark::mayRun(markWith("boot", "11111111-2222-3333-4444-555555555555")));
}

TEST(ProcessMarkTest, EndedProcessDoesNotRun) {
    pid_t child = 0;
    char name[] = "true";
    char* arguments[] = {name, nullptr};
    ASSERT_EQ(posix_spawnp(&child, name, nullptr, nullptr, arguments, nullptr), 0);
    siginfo_t ended;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
    // Not waited for yet, so its number is still taken; it runs no longer all the same.
    EXPECT_FALSE(ProcessMark::mayRun(markWith("pid", std::to_string(child))));
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(ProcessMark::mayRun(markWith("pid", std::to_string(child))));
}

TEST(ProcessMarkTest, WhatCannotBeToldFromHereMayRun) {
    EXPECT_TRUE(ProcessMark::mayRun(""));
    EXPECT_TRUE(ProcessMark::mayRun("no mark at all"));
    EXPECT_TRUE(ProcessMark::mayRun("pid=../../etc start=1"));
    EXPECT_TRUE(ProcessMark::mayRun(markWith("space", "pid:[1]")));
}

} // namespace
} // namespace velk::common
