// The real daemon, the keeper in it and the doctor while the wall clock jumps.

#include "tests/integration/SimulatedTest.h"
#include "tests/integration/StoreWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace velk::testing {
namespace {

class ClockJumpTest : public SimulatedTest {
protected:
    void SetUp() override {
        url = "sqlite:" + (directory / "tess.db").string() + "?working=" + work() + "&keep=1";
        setClock(0);
        const char* sanitizer = std::getenv("ASAN_OPTIONS"); // NOLINT(concurrency-mt-unsafe): read only
        more = {"LD_PRELOAD=" VELK_CLOCK_SHIFT, "VELK_CLOCK_FILE=" + clock(),
                "ASAN_OPTIONS=verify_asan_link_order=0:" +
                    std::string{sanitizer == nullptr ? "" : sanitizer}};
        startDaemon();
        ASSERT_TRUE(awaits({"tess", "status"}, "in service")) << output;
    }

    std::string clock() const { return (directory / "clock").string(); }
    std::string work() const { return (directory / "work").string(); }

    /// How far the wall clock of the programs is ahead. Written in place, as they have the file mapped.
    void setClock(std::int64_t hours) const {
        const std::int64_t seconds = hours * 3600;
        std::fstream file{clock(), std::ios::binary | std::ios::in | std::ios::out};
        if (!file) {
            file.open(clock(), std::ios::binary | std::ios::out);
        }
        file.write(reinterpret_cast<const char*>(&seconds), sizeof seconds);
    }

    /// What the doctor calls a problem, apart from the clock.
    std::string problemsBesideTheClock() const {
        std::istringstream lines{output};
        std::string found;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("problem") && line.find(" clock ") == std::string::npos) {
                found += line + "\n";
            }
        }
        return found;
    }

    /// Whether a program comes to say `text`, which takes less than ten seconds.
    bool awaits(const std::vector<std::string>& words, const std::string& text) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{10};
        do {
            run(words);
            if (output.find(text) != std::string::npos) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds{20});
        } while (std::chrono::steady_clock::now() < end);
        return false;
    }
};

TEST_F(ClockJumpTest, TheDaemonGoesOnAndTheDoctorTellsOfTheClockOnly) {
    bool there = true;
    for (const std::int64_t hours : {5, -7, 24, -24, 0}) {
        setClock(hours);
        there = !there;
        mains(there ? "normal" : "lost");
        EXPECT_TRUE(awaits({"tess", "get", "Inputs.1.Status.InRange"}, there ? "  yes  " : "out of range"))
            << hours << ": " << output;
        EXPECT_EQ(run({"tess", "do", "Outlets.8", there ? "SwitchOn" : "SwitchOff", "--yes"}), 0)
            << hours << ": " << output;
        EXPECT_EQ(run({"tess", "status"}), 0);
        EXPECT_NE(output.find("connected since"), std::string::npos) << hours << ": " << output;
        run({"tess", "doctor"});
        EXPECT_EQ(problemsBesideTheClock(), "") << hours;
        EXPECT_NE(output.find("queue          copied to "), std::string::npos) << hours << ": " << output;
    }
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0);
    EXPECT_EQ(daemon->errors(), "");
    std::filesystem::remove_all(work());
    EXPECT_EQ(StoreWatch{url}.value("Inputs.1.Status.InRange"), qz::CValue{there});
}

} // namespace
} // namespace velk::testing
