#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

namespace velk::daemon {
namespace {

using ::testing::HasSubstr;
using velk::testing::ChildProcess;

/// The daemon and tess as people start them, with a store between them.
class HistoryProgramTest : public ::testing::Test {
protected:
    HistoryProgramTest() {
        std::filesystem::create_directory(folder / "plugins");
        store->emplaceDevice(uuid("equipment"), 1, 2);
        store->emplaceDevice(uuid("device"), 2, 20);
        voltage = store->inbandAccessor().emplaceChannel(20, "PowerDistribution.Measure.Voltage", false);
        write(230.0F);
    }

    static velk::common::Uuid uuid(const std::string& name) {
        return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "sample " + name};
    }

    std::string url() const { return "sqlite:" + (folder / "tess.db").string(); }

    void write(float value) { store->inbandAccessor().setChannelCValue(voltage, qz::CValue{value}); }

    std::unique_ptr<ChildProcess> startDaemon(const std::string& configuration) const {
        std::ofstream{folder / "velk.json"} << configuration;
        auto daemon = std::make_unique<ChildProcess>(
            std::vector<std::string>{VELK_BINARY_DIR "/bin/powerdistributiond", "--config",
                                     (folder / "velk.json").string()},
            std::vector<std::string>{"TESS_URL=" + url()});
        EXPECT_TRUE(daemon->awaitOutput("powerdistributiond: started")) << daemon->errors();
        return daemon;
    }

    /// What `tess history` says, until the text is in it: a write takes its way through the store.
    std::string historyWith(const std::string& text) const {
        std::string said;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{30};
        do {
            ChildProcess tess{{VELK_BINARY_DIR "/bin/tess", "history", "Measure.Voltage", "--since", "1h"},
                              {"TESS_URL=" + url(), "TZ=UTC", "LC_ALL=C"}};
            code = tess.finish();
            said = tess.output() + tess.errors();
        } while (said.find(text) == std::string::npos && std::chrono::steady_clock::now() < end);
        return said;
    }

    mutable int code{-1};
    velk::testing::TemporaryDirectory folder;
    std::unique_ptr<tessapi::TessAccessor> store{tessapi::TessAccessor::open("test", url())};
    std::uint64_t voltage{0};
};

TEST_F(HistoryProgramTest, ValuesAreRememberedDrawnAndKeptOverTheEndOfTheDaemon) {
    const char* configuration = R"({"protocolLibraries": ["plugins"], "history": {"file": "history"}})";
    auto daemon = startDaemon(configuration);
    write(210.5F);
    EXPECT_THAT(historyWith("greatest 230 V, last 210.5 V\n"), HasSubstr("least 210.5 V, mean "));
    EXPECT_EQ(code, 0);
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0) << daemon->errors();
    EXPECT_TRUE(std::filesystem::exists(folder / "history"));
    write(220.0F); // while nobody looks
    daemon = startDaemon(configuration);
    EXPECT_THAT(historyWith("last 220 V\n"), HasSubstr("least 210.5 V, mean "));
    daemon->signal(SIGTERM);
    daemon->finish();
}

TEST_F(HistoryProgramTest, ADamagedFileIsSetAsideAndAHistoryThatIsOffSaysSo) {
    std::ofstream{folder / "history"} << "what is this?";
    auto daemon = startDaemon(R"({"protocolLibraries": ["plugins"], "history": {"file": "history"}})");
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->finish(), 0);
    EXPECT_THAT(daemon->errors(), HasSubstr("history is no history, and is set aside as "));
    daemon = startDaemon(R"({"protocolLibraries": ["plugins"], "history": {"enabled": false}})");
    EXPECT_EQ(historyWith("switched off"),
              "tess: the daemon keeps no history: its configuration has it switched off\n");
    EXPECT_EQ(code, 1);
    daemon->signal(SIGTERM);
    daemon->finish();
}

} // namespace
} // namespace velk::daemon
