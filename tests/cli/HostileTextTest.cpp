#include "tests/cli/SampleStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

/// What a device, an alarm file or another program might put into the store: a title for the window, a path
/// out of the folder, a line of its own, bytes that are no text.
const std::string HOSTILE{"\033]0;owned\a\033[2J../../etc/passwd\n/\r\xC2\x9B"
                          "31m\xFF\b\x7F"};

/// As a program gets it; to a terminal there is more that does not pass.
bool isClean(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char letter) {
        return static_cast<unsigned char>(letter) >= 0x20 || letter == '\n';
    });
}

class HostileTextTest : public ::testing::TestWithParam<std::string> {
protected:
    HostileTextTest() {
        for (const auto attribute :
             {tessapi::DeviceAttribute::productName, tessapi::DeviceAttribute::model,
              tessapi::DeviceAttribute::serialNumber, tessapi::DeviceAttribute::friendlyName,
              tessapi::DeviceAttribute::firmwareVersion}) {
            sample.text(20, attribute, HOSTILE);
        }
        const std::uint64_t part = sample.store->emplaceDevice(sample.uuid("hostile"), 20, 0);
        sample.text(part, tessapi::DeviceAttribute::path, "Outlets." + HOSTILE);
        sample.set(part, "Attribute." + HOSTILE, qz::CValue{HOSTILE});
        sample.alarm(20, "Status.LowRuntime", HOSTILE);
        sample.set(20, "Status.LowRuntime", qz::CValue{true});
        qz::CMultistateMap states;
        states.add(qz::CValue{2U}, HOSTILE);
        sample.store->inbandAccessor().setChannelMultistateMap(sample.channel(20, "Status.Mode"), states);
    }

    test::SampleStore sample;
};

TEST_P(HostileTextTest, ReachesTheTerminalWithoutControlCharacters) {
    const auto program = sample.start({GetParam()});
    EXPECT_EQ(program->finish(), 0) << program->errors();
    EXPECT_FALSE(program->output().empty());
    EXPECT_TRUE(isClean(program->output())) << program->output();
    EXPECT_TRUE(isClean(program->errors())) << program->errors();
}

TEST_P(HostileTextTest, ReachesProgramsAsJson) {
    const auto program = sample.start({GetParam(), "--json"});
    EXPECT_EQ(program->finish(), 0) << program->errors();
    EXPECT_TRUE(isClean(program->output())) << program->output();
    EXPECT_TRUE(nlohmann::json::accept(program->output())) << program->output();
}

INSTANTIATE_TEST_SUITE_P(Commands, HostileTextTest,
                         ::testing::Values("status", "tree", "devices", "channels", "alarms"),
                         [](const auto& command) { return command.param; });

TEST_F(HostileTextTest, RefusalOfAHostilePathIsCleanToo) {
    const auto program = sample.start({"get", "Outlets." + HOSTILE + ".x"});
    EXPECT_NE(program->finish(), 0);
    EXPECT_FALSE(program->errors().empty());
    EXPECT_TRUE(isClean(program->errors())) << program->errors();
}

} // namespace
} // namespace velk::cli
