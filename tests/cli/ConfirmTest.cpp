#include "cli/DoCommand.h"
#include "cli/Failure.h"
#include "tests/cli/FakeDaemon.h"
#include "tests/cli/SampleStore.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velk::cli {
namespace {

/// A person at a terminal who answers with a line.
class ConfirmTest : public ::testing::Test {
protected:
    ExitCode answer(const std::string& line, const std::string& part, const std::string& action) {
        std::istringstream in{line};
        Session session{
            *sample.store, in, out, err, velk::common::Clock::system(), false, true, Style{false}, [] {
                return std::int64_t{0};
            }};
        RequestOptions options;
        options.timeout = std::chrono::seconds{30};
        return runDo(session, part, action, 0, options);
    }

    test::SampleStore sample;
    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(ConfirmTest, BeforeALoadLosesPowerThePersonIsAsked) {
    test::FakeDaemon daemon{sample,      sample.outlet, "Action.SwitchOff",
                            "Outlets.1", "0",           test::FakeDaemon::Answer::Accept};
    EXPECT_EQ(answer("y\n", "Outlets.1", "SwitchOff"), ExitCode::Done);
    EXPECT_EQ(err.str(),
              "Outlets.1.Action.SwitchOff: everything fed by Outlets.1 will lose power. Go on? [y/N] ");
    EXPECT_EQ(out.str(), "Outlets.1.Action.SwitchOff: accepted by the device\n");
}

TEST_F(ConfirmTest, AnythingButYesStartsNothing) {
    for (const char* line : {"n\n", "\n", "", "yeah\n"}) {
        EXPECT_THROW(answer(line, ".", "SwitchOff"), Failure) << line;
    }
    EXPECT_FALSE(sample.get(20, "Action.SwitchOff").isValid());
    EXPECT_NE(err.str().find("everything fed by the device will lose power"), std::string::npos);
}

TEST_F(ConfirmTest, AnActionThatTakesNoPowerAwayIsNotAskedAbout) {
    test::FakeDaemon daemon{sample,      sample.outlet, "Action.SwitchOn",
                            "Outlets.1", "0",           test::FakeDaemon::Answer::Accept};
    EXPECT_EQ(answer("", "Outlets.1", "SwitchOn"), ExitCode::Done);
    EXPECT_EQ(err.str(), "");
}

} // namespace
} // namespace velk::cli
