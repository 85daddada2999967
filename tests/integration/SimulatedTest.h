#pragma once

#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace velk::testing {

/// The real daemon with a simulated device, on the store `url`.
class SimulatedTest : public ::testing::Test {
protected:
    /// Returns when it watches the device.
    void startDaemon() {
        std::ofstream{directory / "velk.json"}
            << R"({"maxRestTimeMs": 100, "protocolLibraries": [")" << VELK_SIMULATOR_PLUGIN
            << R"("], "simulator": {"device": "ups-1ph", "control": "sim.sock"}})";
        daemon = std::make_unique<ChildProcess>(
            std::vector<std::string>{VELK_BINARY_DIR "/bin/powerdistributiond", "--config",
                                     (directory / "velk.json").string()},
            environment());
        ASSERT_TRUE(daemon->awaitOutput("to MONITOR\n")) << daemon->errors();
    }

    /// Runs one of our programs to its end and gives its exit code; `output` is all that it said.
    int run(std::vector<std::string> words) {
        words.front() = VELK_BINARY_DIR "/bin/" + words.front();
        ChildProcess program{words, environment()};
        const int code = program.finish();
        output = program.output() + program.errors();
        return code;
    }

    void mains(const std::string& state) {
        ASSERT_EQ(run({"simctl", (directory / "sim.sock").string(), "mains", state}), 0) << output;
    }

    std::vector<std::string> environment() const {
        auto variables = more;
        variables.push_back("TESS_URL=" + url);
        variables.push_back("RUNTIME_DIRECTORY=" + (directory / "run").string());
        return variables;
    }

    TemporaryDirectory directory;
    std::string url;
    std::vector<std::string> more; ///< of the programs' environment
    std::unique_ptr<ChildProcess> daemon;
    std::string output;
};

} // namespace velk::testing
