// simctl as a person runs it.

#include "tests/plugins/simulator/SimulatorHost.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <sys/wait.h>

namespace velk::simulator {
namespace {

using velk::testing::SimulatorHost;

/// What the program has printed on both outputs, and its exit code.
struct Outcome {
    std::string text;
    int code{-1};
};

Outcome runSimctl(const std::string& arguments, const std::string& before = {}) {
    const std::string line = before + std::string{VELK_SIMCTL} + " " + arguments + " 2>&1";
    FILE* const pipe = popen(line.c_str(), "r");
    Outcome run;
    std::array<char, 4096> buffer{};
    for (std::size_t size = 0; (size = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        run.text.append(buffer.data(), size);
    }
    run.code = WEXITSTATUS(pclose(pipe));
    return run;
}

class SimctlTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(host.find()); }
    Outcome run(const std::string& arguments) const {
        return runSimctl((host.folder / "sim.sock").string() + " " + arguments);
    }

    SimulatorHost host{R"("device":"ups-1ph")"};
};

TEST_F(SimctlTest, CommandsAreGivenInWordsAndAsJson) {
    EXPECT_EQ(run("mains lost input=1").text, "{\"ok\":true}\n");
    EXPECT_EQ(host.held("Inputs.1.Measure.Voltage"), "0");
    EXPECT_EQ(run(R"('{"do":"mains","state":"normal"}')").code, 0);
    const Outcome get = run("get Inputs.1.Measure.Voltage");
    EXPECT_EQ(get.text, "{\"ok\":true,\"value\":230,\"type\":\"float\"}\n");
    EXPECT_EQ(get.code, 0);
}

TEST_F(SimctlTest, RefusalIsItsReasonAndOne) {
    const Outcome refused = run("mains gone");
    EXPECT_EQ(refused.text,
              "column 23: \"state\" is \"gone\", expected \"lost\", \"normal\", \"sag\" or \"swell\"\n");
    EXPECT_EQ(refused.code, 1);
}

TEST_F(SimctlTest, PointsAreATableThatAPatternNarrows) {
    const Outcome points = run("points 'Inputs.1.Measure.V*'");
    EXPECT_EQ(points.code, 0);
    EXPECT_EQ(points.text.rfind("Inputs.1.Measure.Voltage ", 0), 0U);
    EXPECT_NE(points.text.find(" float       230\n"), std::string::npos) << points.text;
    EXPECT_EQ(points.text.find("Outputs."), std::string::npos);
    const Outcome none = run("points 'Nothing*'");
    EXPECT_EQ(none.text, "no data point matches Nothing*\n");
    EXPECT_EQ(none.code, 1);
}

TEST_F(SimctlTest, PlayShowsTheHeadlinesToTheEnd) {
    std::ofstream{host.folder / "story.json"}
        << R"({"name":"s","steps":[{"at":1,"say":"one"},{"at":2,"say":"two"}]})";
    host.command(R"({"do":"speed","factor":100})");
    const Outcome play = run("play " + (host.folder / "story.json").string());
    EXPECT_EQ(play.code, 0);
    EXPECT_NE(play.text.find(" s  one\n"), std::string::npos) << play.text;
    EXPECT_NE(play.text.find(" s  two\n"), std::string::npos) << play.text;
    EXPECT_NE(play.text.find(" s  (the scenario has ended)\n"), std::string::npos) << play.text;
}

TEST_F(SimctlTest, LinesOfTheStandardInputAreCommands) {
    const Outcome lines = runSimctl("--json " + (host.folder / "sim.sock").string() + " -",
                                    R"(printf '{"do":"say","text":"x"}\n{"do":"nonsense"}\n' | )");
    EXPECT_EQ(lines.code, 1);
    EXPECT_EQ(lines.text.rfind("{\"ok\":true}\n{\"ok\":false,", 0), 0U) << lines.text;
}

TEST(SimctlUsageTest, WhatItCannotReachItSaysAndWhatToDo) {
    const Outcome run = runSimctl("/tmp/velk-there-is-no-such.sock status");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.text, "simctl: /tmp/velk-there-is-no-such.sock: there is no such socket; it is the member "
                        "\"control\" of the simulator's configuration, and is there while the daemon runs\n");
}

TEST(SimctlUsageTest, HelpIsOnTheStandardOutputAndMistakesAreTwo) {
    const Outcome help = runSimctl("--help");
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.text.rfind("usage: simctl ", 0), 0U);
    for (const std::string wrong : {"", "sock", "--wrong sock status", "sock log three"}) {
        const Outcome run = runSimctl(wrong);
        EXPECT_EQ(run.code, 2) << wrong;
        EXPECT_NE(run.text.find("simctl --help tells more\n"), std::string::npos) << wrong;
    }
}

} // namespace
} // namespace velk::simulator
