#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/Faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace tessapi::faults {
namespace {

// A small file system of its own, filled to the last byte and then mounted for reading only. Where mounting
// is not permitted, what BadDiskTest does with simulated failures has to do, unless all faults are asked for.
TEST(FullDiskTest, AFullDiskRefusesWritesInClearWordsAndTakesThemAgainWhenThereIsSpace) {
    Tally tally{"a full and a read-only file system"};
    const velk::testing::TemporaryDirectory folder{scratch()};
    velk::testing::ChildProcess program{
        {VELK_FAULT_WORKER, folder.path().string(), "full", std::to_string(seed())}};
    ASSERT_EQ(program.finish(), 0) << program.errors() << program.output();
    if (program.output() == "not permitted\n") {
        tally.note = "mounting is not permitted here";
        EXPECT_FALSE(all()) << "all faults are asked for, and a file system can only be mounted by root";
        return;
    }
    tally.tried = 2;
    const auto said = [&](const std::string& text) {
        return program.output().find(text) != std::string::npos;
    };
    EXPECT_TRUE(said("full: store sqlite:" + (folder / "tess.db").string() +
                     ": "
                     "database or disk is full [sqlite:13]\n"))
        << program.output();
    EXPECT_TRUE(said("read-only: store sqlite:" + (folder / "tess.db").string() + ": ")) << program.output();
    EXPECT_TRUE(said("Read-only file system")) << program.output();
    EXPECT_TRUE(said("all there\n")) << program.output();
    const auto lines = std::count(program.errors().begin(), program.errors().end(), '\n');
    EXPECT_LE(lines, 1) << program.errors();
    tally.survived = ::testing::Test::HasFailure() ? 0 : 2;
    tally.lost = said("all there\n") ? 0 : 1;
}

} // namespace
} // namespace tessapi::faults
