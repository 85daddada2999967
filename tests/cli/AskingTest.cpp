#include "cli/WriterNote.h"
#include "tests/cli/FakeDaemon.h"
#include "tests/cli/TessTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using Answer = test::FakeDaemon::Answer;
using Json = nlohmann::ordered_json;

constexpr const char* DELAY = "Setting.AutomaticSwitchOffDelay";
constexpr const char* DELAY_PATH = "Outlets.1.Setting.AutomaticSwitchOffDelay";

class AskingTest : public test::TessTest {
protected:
    test::FakeDaemon outletDelay(Answer answer) {
        return {sample, sample.outlet, DELAY, "Outlets.1", "30", answer};
    }
};

TEST_F(AskingTest, SetShowsOldAndNewValueAndThatTheDeviceAccepted) {
    test::FakeDaemon daemon = outletDelay(Answer::Accept);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30"}), 0) << err;
    EXPECT_EQ(out, "Outlets.1.Setting.AutomaticSwitchOffDelay: 5 s -> 30 s, accepted by the device\n");
    EXPECT_EQ(sample.get(sample.outlet, DELAY), qz::CValue{30});
}

TEST_F(AskingTest, SetEndsWithOneAndTheReasonWhenTheDeviceRefuses) {
    test::FakeDaemon daemon = outletDelay(Answer::Refuse);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30 s"}), 1);
    EXPECT_EQ(
        out, "Outlets.1.Setting.AutomaticSwitchOffDelay: 5 s -> 30 s, refused by the device: out of range\n");
}

TEST_F(AskingTest, SetEndsWithSevenWhenNobodyAnswersInTime) {
    test::FakeDaemon daemon = outletDelay(Answer::Silent);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30", "--timeout", "0.2"}), 7);
    EXPECT_THAT(out, HasSubstr("5 s -> 30 s, unconfirmed: no answer within 0.2 s\n"));
}

TEST_F(AskingTest, SetSaysWhenNoDaemonHasEverBeenThere) {
    EXPECT_EQ(tess({"set", DELAY_PATH, "30"}), 7);
    EXPECT_THAT(out, HasSubstr("unconfirmed: no daemon has ever kept notes in this store\n"));
}

TEST_F(AskingTest, AWriteThatNobodyTookIsRecordedInTheStore) {
    tess({"set", DELAY_PATH, "30"});
    test::FakeDaemon daemon = outletDelay(Answer::Silent);
    tess({"do", ".", "StartTest", "--timeout", "0"});
    const std::vector<tessapi::WriteRecord> records = sample.store->browser().writeRecords(0, 10);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].path, DELAY_PATH);
    EXPECT_EQ(records[0].asked, "30");
    EXPECT_EQ(records[0].program, "tess");
    EXPECT_EQ(records[0].user, ownUser());
    EXPECT_EQ(records[0].result, "nobody took it: no daemon has ever kept notes in this store");
    EXPECT_EQ(records[1].path, "Action.StartTest");
    EXPECT_EQ(records[1].result, "nobody took it: no answer within 0.0 s");
}

TEST_F(AskingTest, AWriteThatADaemonAnsweredIsRecordedByTheDaemonAlone) {
    test::FakeDaemon daemon = outletDelay(Answer::Refuse);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30"}), 1);
    EXPECT_TRUE(sample.store->browser().writeRecords(0, 10).empty());
}

TEST_F(AskingTest, SetAsJsonTellsTheOutcome) {
    test::FakeDaemon daemon = outletDelay(Answer::Accept);
    EXPECT_EQ(tess({"set", "--json", DELAY_PATH, "30"}), 0);
    const Json answer = Json::parse(out);
    EXPECT_EQ(answer["path"], DELAY_PATH);
    EXPECT_EQ(answer["old"], 5);
    EXPECT_EQ(answer["new"], 30);
    EXPECT_EQ(answer["outcome"], "accepted");
    EXPECT_TRUE(answer["error"].is_null());
    EXPECT_EQ(answer["time"], "2099-01-01T00:00:00.000Z");
}

TEST_F(AskingTest, SetOfThePresentValueWritesNothing) {
    test::FakeDaemon daemon = outletDelay(Answer::Accept);
    EXPECT_EQ(tess({"set", DELAY_PATH, "5"}), 0);
    EXPECT_EQ(out, "Outlets.1.Setting.AutomaticSwitchOffDelay: already 5 s\n");
    EXPECT_EQ(daemon.heard(), 0);
}

TEST_F(AskingTest, SetOfAValueThatWasJustRefusedSaysSoInsteadOfAlready) {
    test::FakeDaemon daemon = outletDelay(Answer::Refuse);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30"}), 1);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30"}), 1);
    EXPECT_THAT(out, HasSubstr("30 s was refused by the device at 2099"));
    EXPECT_EQ(daemon.heard(), 1);
}

TEST_F(AskingTest, SetTakesTheLabelOfAState) {
    test::FakeDaemon daemon{sample, 20, "Setting.AudibleAlarmControl", "", "3", Answer::Accept};
    EXPECT_EQ(tess({"set", "Setting.AudibleAlarmControl", "muted"}), 0) << err;
    EXPECT_EQ(out, "Setting.AudibleAlarmControl: enabled -> muted, accepted by the device\n");
}

TEST_F(AskingTest, SetTakesANegativeNumber) {
    test::FakeDaemon daemon{sample, sample.outlet, DELAY, "Outlets.1", "-1", Answer::Accept};
    EXPECT_EQ(tess({"set", DELAY_PATH, "-1"}), 0) << err;
    EXPECT_EQ(sample.get(sample.outlet, DELAY), qz::CValue{-1});
}

TEST_F(AskingTest, SetRefusesWhatIsNoSettingOrNoValue) {
    EXPECT_EQ(tess({"set", "Inputs.1.Measure.Voltage", "1"}), 1);
    EXPECT_THAT(err, HasSubstr("is no setting"));
    EXPECT_EQ(tess({"set", "Outlets.1.Action.SwitchOff", "1"}), 1);
    EXPECT_THAT(err, HasSubstr("tess do"));
    EXPECT_EQ(tess({"set", DELAY_PATH, "soon"}), 2);
    EXPECT_THAT(err, HasSubstr("expected: a whole number in s"));
    EXPECT_EQ(tess({"set", "Outlets.1.Setting.AutomaticSwitchOfDelay", "1"}), 4);
    EXPECT_THAT(err, HasSubstr("did you mean \"Outlets.1.Setting.AutomaticSwitchOffDelay\"?"));
}

TEST_F(AskingTest, WhileTheDeviceIsLostNothingIsWritten) {
    sample.connect(false);
    test::FakeDaemon daemon = outletDelay(Answer::Accept);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30"}), 6);
    EXPECT_THAT(err, ContainsRegex("tess: the device is not connected: communication lost since 20"));
    EXPECT_EQ(tess({"do", ".", "StartTest"}), 6);
    EXPECT_EQ(sample.get(sample.outlet, DELAY), qz::CValue{5});
    EXPECT_EQ(daemon.heard(), 0);
}

TEST_F(AskingTest, ForceWritesToALostDeviceAndTheValueIsShownAsUnconfirmed) {
    sample.connect(false);
    test::FakeDaemon daemon = outletDelay(Answer::Silent);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30", "--force", "--timeout", "0.2"}), 7);
    EXPECT_THAT(out, HasSubstr("unconfirmed"));
    EXPECT_EQ(sample.get(sample.outlet, DELAY), qz::CValue{30});
    EXPECT_EQ(tess({"get", DELAY_PATH}), 0);
    EXPECT_THAT(out, ContainsRegex("30 s .*unconfirmed, lost since "));
}

TEST_F(AskingTest, ForceAsksAgainForAValueThatIsOnlyUnconfirmed) {
    sample.connect(false);
    test::FakeDaemon daemon = outletDelay(Answer::Silent);
    EXPECT_EQ(tess({"set", DELAY_PATH, "5", "--force"}), 0);
    EXPECT_THAT(out, HasSubstr("already 5 s\n"));
    EXPECT_EQ(tess({"set", DELAY_PATH, "30", "--force", "--timeout", "0.2"}), 7);
    EXPECT_EQ(tess({"set", DELAY_PATH, "30", "--force", "--timeout", "0.2"}), 7);
    EXPECT_THAT(out, HasSubstr("30 s -> 30 s, unconfirmed: "));
    EXPECT_EQ(daemon.awaitHeard(2), 2);
}

TEST_F(AskingTest, DoStartsAnActionWithTrue) {
    test::FakeDaemon daemon{sample, 20, "Action.StartTest", "", "true", Answer::Accept};
    EXPECT_EQ(tess({"do", ".", "StartTest"}), 0) << err;
    EXPECT_EQ(out, "Action.StartTest: accepted by the device\n");
    EXPECT_EQ(sample.get(20, "Action.StartTest"), qz::CValue{true});
}

TEST_F(AskingTest, DoStartsTheSameActionAgain) {
    test::FakeDaemon daemon{sample, 20, "Action.StartTest", "", "true", Answer::Accept};
    EXPECT_EQ(tess({"do", "PowerDistribution", "Action.StartTest"}), 0);
    EXPECT_EQ(tess({"do", "PowerDistribution", "Action.StartTest"}), 0);
    EXPECT_EQ(daemon.heard(), 2);
}

TEST_F(AskingTest, DoGivesAnActionItsDelay) {
    test::FakeDaemon daemon{sample, sample.outlet, "Action.SwitchOn", "Outlets.1", "20", Answer::Accept};
    EXPECT_EQ(tess({"do", "Outlets.1", "SwitchOn", "--delay", "20"}), 0) << err;
    EXPECT_EQ(sample.get(sample.outlet, "Action.SwitchOn"), qz::CValue{20});
}

TEST_F(AskingTest, DoRefusesADelayForAnActionThatTakesNone) {
    for (const char* delay : {"0", "20"}) {
        EXPECT_EQ(tess({"do", ".", "StartTest", "--delay", delay}), 2);
        EXPECT_EQ(err, "tess: \"Action.StartTest\" takes no delay; start it without --delay\n");
    }
    EXPECT_FALSE(sample.get(20, "Action.StartTest").isValid());
}

TEST_F(AskingTest, DoRefusesToTakePowerAwayWhenNobodyCanBeAsked) {
    for (const char* part : {".", "Outlets.1"}) {
        EXPECT_EQ(tess({"do", part, "SwitchOff"}), 1);
        EXPECT_THAT(err, HasSubstr("will lose power; nobody to confirm it here, nothing was started"));
    }
    EXPECT_FALSE(sample.get(sample.outlet, "Action.SwitchOff").isValid());
}

TEST_F(AskingTest, DoTakesPowerAwayWithYes) {
    test::FakeDaemon daemon{sample, sample.outlet, "Action.SwitchOff", "Outlets.1", "0", Answer::Accept};
    EXPECT_EQ(tess({"do", "Outlets.1", "SwitchOff", "--yes"}), 0) << err;
    EXPECT_EQ(sample.get(sample.outlet, "Action.SwitchOff"), qz::CValue{0});
}

TEST_F(AskingTest, DoNamesThePartsAndActionsThatThereAre) {
    EXPECT_EQ(tess({"do", "Outlet.1", "SwitchOn"}), 4);
    EXPECT_THAT(err, HasSubstr("did you mean \"Outlets.1\"?"));
    EXPECT_EQ(tess({"do", "Outlets.1", "SwitchOm"}), 4);
    EXPECT_THAT(err, HasSubstr("did you mean \"SwitchOn\"? (it has SwitchOff, SwitchOn)"));
    EXPECT_EQ(tess({"do", "Inputs.1", "SwitchOn"}), 4);
    EXPECT_THAT(err, HasSubstr("it has none at all"));
}

} // namespace
} // namespace velk::cli
