#include "cli/Style.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace velk::cli {
namespace {

/// A terminal, and an environment that allows colours.
class StyleTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_GE(terminal, 0);
        ASSERT_EQ(isatty(terminal), 1);
        unsetenv("NO_COLOR");
        setenv("TERM", "xterm", 1);
    }
    ~StyleTest() override {
        close(terminal);
        unsetenv("NO_COLOR");
    }

    std::string bad() const { return Style::forFile(terminal).bad("lost"); }

    const int terminal{posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
};

TEST_F(StyleTest, ATerminalGetsColours) {
    EXPECT_EQ(bad(), "\033[31mlost\033[0m");
}

TEST_F(StyleTest, NoColorKeepsThemAwayUnlessItIsEmpty) {
    setenv("NO_COLOR", "1", 1);
    EXPECT_EQ(bad(), "lost");
    setenv("NO_COLOR", "", 1);
    EXPECT_EQ(bad(), "\033[31mlost\033[0m");
}

TEST_F(StyleTest, ADumbTerminalAndAFileGetNone) {
    setenv("TERM", "dumb", 1);
    EXPECT_EQ(bad(), "lost");
    setenv("TERM", "xterm", 1);
    const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(Style::forFile(file).bad("lost"), "lost");
    close(file);
}

} // namespace
} // namespace velk::cli
