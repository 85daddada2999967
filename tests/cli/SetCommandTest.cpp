#include "cli/SetCommand.h"

#include "cli/JournalEntry.h"
#include "tests/cli/TestSession.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;
using Json = nlohmann::ordered_json;

constexpr const char* SETTING = "Setting.AutomaticSwitchOffDelay";

/// A `set` of the value that the store has already, after the device has refused that value at least once.
class SetCommandTest : public ::testing::Test {
protected:
    SetCommandTest() {
        builder.device(1000, 1, "Daemon").uuid = JournalEntry::deviceUuid();
        builder.channel(20, SETTING, qz::CValue{30}, "s").changedMs = CHANGED_MS;
        tessapi::ChannelRecord& kept = builder.channel(1000, "", qz::CValue{});
        kept.name = JournalEntry::WRITES;
        writes = kept.id;
    }

    /// The daemon's clock said 1970 then.
    void note(const Json& changedMs, bool accepted = false) {
        Json note{{"sequence", notes.size() + 1},
                  {"device", ""},
                  {"channel", SETTING},
                  {"asked", "30"},
                  {"accepted", accepted},
                  {"error", accepted ? Json(nullptr) : Json("out of range")},
                  {"time", "1970-01-01T00:00:00.000Z"}};
        if (!changedMs.is_discarded()) {
            note["changedMs"] = changedMs;
        }
        notes.push_back(note);
    }

    ExitCode set() {
        builder.record(writes).value = qz::CValue{notes.dump()};
        return runSet(test.session, SETTING, "30", {});
    }

    static constexpr std::int64_t CHANGED_MS = SnapshotBuilder::NOW_MS - 5;

    Json notes = Json::array();
    std::uint64_t writes{0};
    SnapshotBuilder builder;
    test::SnapshotStore store{builder};
    test::TestSession test{store};
};

TEST_F(SetCommandTest, RefusedValueIsNeverThereAlreadyWhateverTheClocksSay) {
    note(CHANGED_MS);
    EXPECT_EQ(set(), ExitCode::Failed);
    EXPECT_EQ(test.takeOut(),
              "Setting.AutomaticSwitchOffDelay: 30 s was refused by the device at "
              "1970-01-01T00:00:00.000Z; try again when the store shows the device's value\n");
}

TEST_F(SetCommandTest, RefusedValueOfWhichNobodyKnowsTheChangeIsNotThereAlready) {
    note(nullptr);
    EXPECT_EQ(set(), ExitCode::Failed);
    note(Json(Json::value_t::discarded)); // of an earlier release
    EXPECT_EQ(set(), ExitCode::Failed);
}

TEST_F(SetCommandTest, ValueThatCameFromTheDeviceAfterItsRefusalIsThereAlready) {
    note(CHANGED_MS - 1);
    EXPECT_EQ(set(), ExitCode::Done);
    EXPECT_EQ(test.takeOut(), "Setting.AutomaticSwitchOffDelay: already 30 s\n");
}

TEST_F(SetCommandTest, ValueThatTheDeviceTookAfterItsRefusalIsThereAlready) {
    note(CHANGED_MS);
    note(nullptr, true);
    EXPECT_EQ(set(), ExitCode::Done);
}

} // namespace
} // namespace velk::cli
