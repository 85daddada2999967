// What people see of a daemon that has its process and does nothing.

#include "tests/integration/SimulatedTest.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace velk::testing {
namespace {

class StoppedDaemonTest : public SimulatedTest {
protected:
    void SetUp() override {
        url = "sqlite:" + (directory / "tess.db").string();
        startDaemon();
    }

    std::string status(const std::string& option = "") {
        std::vector<std::string> words{"tess", "status"};
        if (!option.empty()) {
            words.insert(words.begin() + 1, option);
        }
        EXPECT_EQ(run(words), 0) << output;
        return output;
    }

    bool says(const std::string& text) const { return output.find(text) != std::string::npos; }
};

TEST_F(StoppedDaemonTest, StatusTellsThatItDoesNotAnswerAndValuesAreTheLastKnownUntilItGoesOn) {
    status();
    EXPECT_TRUE(says("Communication  connected since")) << output;
    EXPECT_TRUE(says("Service        in service\n")) << output;
    EXPECT_FALSE(says("(last known)")) << output;

    daemon->signal(SIGSTOP);
    status();
    EXPECT_TRUE(says("Service        does not answer (process " + std::to_string(daemon->pid()) + ")\n"))
        << output;
    EXPECT_TRUE(says("Communication  not watched: the daemon does not answer; connected since")) << output;
    EXPECT_TRUE(says("in service (last known)\n")) << output;
    status("--json");
    EXPECT_TRUE(says("\"connected\": false")) << output;
    EXPECT_FALSE(says("\"fresh\": true")) << output;

    daemon->signal(SIGCONT);
    status();
    EXPECT_TRUE(says("Communication  connected since")) << output;
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0) << daemon->errors();
}

} // namespace
} // namespace velk::testing
