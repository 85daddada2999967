#include "cli/ExplainCommand.h"
#include "cli/Failure.h"
#include "cli/Inquiry.h"
#include "cli/JournalEntry.h"
#include "cli/TriggerState.h"
#include "testing/FakeClock.h"
#include "tests/cli/SampleStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velk::cli {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;
using Json = nlohmann::ordered_json;
using Passing = velk::testing::FakeClock::Passing;

constexpr std::int64_t NOW_MS = 4'070'908'800'000; // 2099

class ExplainTest : public ::testing::Test {
protected:
    ExplainTest() {
        daemon = sample.store->emplaceDevice(JournalEntry::deviceUuid(), 1, 0);
        sample.text(daemon, tessapi::DeviceAttribute::path, "Daemon");
    }

    std::uint64_t own(const char* name) {
        return sample.store->inbandAccessor().emplaceChannel(daemon, name, false);
    }

    /// From now on questions are answered with these publishers, as the daemon would.
    void answer(const Json& publishers, const Json& more = {{"modelBuilt", true}, {"modelError", nullptr}}) {
        tessapi::InBandAccessor& inband = sample.store->inbandAccessor();
        const std::uint64_t answers = own(Inquiry::ANSWER);
        inband.subscribeMultipleChannels(
            {own(Inquiry::REQUEST)},
            [&inband, answers, publishers, more](std::uint64_t, const qz::CValue& value) {
                Json json = Json::parse(value.as_string());
                json.update(more);
                json["publishers"] = publishers;
                // The answers to others are none for whoever asks.
                inband.setChannelCValue(answers, qz::CValue{R"({"id":"other","publishers":[]})"});
                inband.setChannelCValue(answers, qz::CValue{"nonsense"});
                inband.setChannelCValue(answers, qz::CValue{json.dump()});
            },
            qz::sub::everyWrite, nullptr);
    }

    static Json reading() {
        return {{"kind", "reading"},
                {"plugin", "/opt/lib/plug.so"},
                {"rule", "Inputs.[1..2].Measure.Voltage from v"},
                {"rank", 4},
                {"reads", 12},
                {"lastReadMs", NOW_MS - 3000},
                {"periodSeconds", 2.1},
                {"gaveNothing", false},
                {"error", nullptr},
                {"errorMs", nullptr}};
    }

    ExitCode explain(const std::string& path, Passing passing = Passing::ByHand, bool json = false) {
        velk::testing::FakeClock clock{passing};
        std::istringstream in;
        std::ostringstream words;
        std::ostringstream data;
        Session session{*sample.store,        in, data, words, clock, json, false, Style{false},
                        [] { return NOW_MS; }};
        const ExitCode code = runExplain(session, path);
        out = data.str();
        err = words.str();
        return code;
    }

    Json json(const std::string& path) {
        EXPECT_EQ(explain(path, Passing::ByHand, true), ExitCode::Done);
        return Json::parse(out);
    }

    std::string failure(const std::string& path) {
        try {
            explain(path);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.exitCode(), ExitCode::NoSuchPath);
            return failure.what();
        }
        return "none";
    }

    static qz::CAlarmTrigger trigger(std::int8_t type, const qz::CValue& first, const std::string& code) {
        qz::CAlarmTrigger made;
        made.type = type;
        made.threshold1 = first;
        made.level = tessapi::LevelAlarm::critical;
        made.code = code;
        made.priority = 3;
        return made;
    }

    void setTriggers(std::uint64_t device, const std::string& name, std::vector<qz::CAlarmTrigger> triggers) {
        qz::tess::CSingleAlarmConfig config;
        config.triggers = std::move(triggers);
        sample.store->inbandAccessor().setChannelAlarmConfig(sample.channel(device, name), config);
    }

    void note(const Json& by, bool accepted = true, const char* time = "2099-01-01T00:00:00.000Z") {
        const Json entry{{"sequence", 1},
                         {"device", "Outlets.1"},
                         {"channel", "Setting.AutomaticSwitchOffDelay"},
                         {"asked", "5"},
                         {"accepted", accepted},
                         {"error", accepted ? Json(nullptr) : Json("out of range")},
                         {"time", time},
                         {"by", by}};
        sample.store->inbandAccessor().setChannelCValue(own(JournalEntry::WRITES),
                                                        qz::CValue{Json::array({entry}).dump()});
    }

    test::SampleStore sample;
    std::uint64_t daemon{0};
    std::string out;
    std::string err;
};

TEST_F(ExplainTest, ReadingIsExplainedWithPluginRulePollingAndStamps) {
    answer(Json::array({reading()}));
    EXPECT_EQ(explain("Inputs.1.Measure.Voltage"), ExitCode::Done);
    EXPECT_THAT(out, ContainsRegex("^Inputs\\.1\\.Measure\\.Voltage = 230\\.1 V\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Served by +plug\\.so: read from the device\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Rule +Inputs\\.\\[1\\.\\.2\\]\\.Measure\\.Voltage from v\n"));
    EXPECT_THAT(
        out,
        ContainsRegex("\n  Polled +once in 5 cycles, about every 2\\.1 s \\(rank 4, 12 times so far\\)\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Last read +2098-12-31 [0-9:]+ \\(3 s ago\\)\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Last error +none\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Type +float32, V\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Last change +20"));
    EXPECT_THAT(out, ContainsRegex("\n  Last write +20.*, by powerdistributiond\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Alarms +no triggers\n"));
    EXPECT_EQ(err, "");
}

TEST_F(ExplainTest, FailedAndEmptyPollsAreTold) {
    Json publisher = reading();
    publisher["gaveNothing"] = true;
    publisher["error"] = "no answer";
    publisher["errorMs"] = NOW_MS - 60'000 * 5;
    publisher["rank"] = 0;
    publisher["periodSeconds"] = nullptr;
    answer(Json::array({publisher}));
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, ContainsRegex("\n  Polled +in every cycle \\(rank 0, 12 times so far\\)\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Last read .*\\), gave no value\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Last error +no answer, 20.* \\(5 min ago\\)\n"));
}

TEST_F(ExplainTest, WhatTheLibraryWorksOutIsItsOwn) {
    answer(Json::array({{{"kind", "health"}, {"plugin", nullptr}, {"rank", nullptr}}}));
    explain("Status.Mode");
    EXPECT_THAT(out, ContainsRegex(
                         "Served by +the library itself: worked out from the active alarms of this part\n"));
    EXPECT_THAT(out, ContainsRegex("\n  Polled +not polled\n"));
    EXPECT_THAT(out, Not(HasSubstr("Rule")));
}

TEST_F(ExplainTest, SeveralPublishersOfOneChannelAreWarnedOf) {
    answer(Json::array({reading(), {{"kind", "computed"}}}));
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, HasSubstr("plug.so"));
    EXPECT_THAT(out, HasSubstr("worked out from other values of this part"));
    EXPECT_THAT(out, ContainsRegex("\n  Note +this channel has another writer too:\n"));
}

TEST_F(ExplainTest, DataPointThatIsTwiceInTheModelIsShownOnce) {
    answer(Json::array({reading(), reading()}));
    explain("Inputs.1.Measure.Voltage");
    EXPECT_EQ(out.find("plug.so"), out.rfind("plug.so"));
    EXPECT_THAT(out, ContainsRegex("\n  Note +once more in the data model, with the same source\n"));
}

TEST_F(ExplainTest, WhatTheDaemonKeepsByItselfIsItsOwn) {
    answer(Json::array());
    tessapi::InBandAccessor& inband = sample.store->inbandAccessor();
    inband.setChannelCValue(inband.emplaceChannel(1, "System.Ethernet.MacAddress", false),
                            qz::CValue{"aa:bb"});
    explain("System.Ethernet.MacAddress");
    EXPECT_THAT(out,
                ContainsRegex(
                    "Served by +powerdistributiond itself: a fact of this host, which the device is told\n"));
    EXPECT_THAT(out, ContainsRegex("Last write .*, by powerdistributiond\n"));
    explain("Daemon.ExplainRequest");
    EXPECT_THAT(out, ContainsRegex("Served by +powerdistributiond itself: its own notes\n"));
    inband.emplaceChannel(1, "Other.Thing", false);
    explain("Other.Thing");
    EXPECT_THAT(out, ContainsRegex("Served by +another program\n"));
}

TEST_F(ExplainTest, WhatTheLibraryReadsByItselfIsDerived) {
    answer(Json::array({{{"kind", "reading"}, {"plugin", nullptr}, {"rank", 0}, {"periodSeconds", 0.024}}}));
    explain("Status.Mode");
    EXPECT_THAT(out,
                ContainsRegex("Served by +the library itself: derived from other values of the device\n"));
    EXPECT_THAT(out, HasSubstr("about every 24 ms"));
}

TEST_F(ExplainTest, RankThatNoDaemonGivesIsNoMatter) {
    answer(Json::array({{{"kind", "reading"}, {"rank", INT64_MAX}, {"lastReadMs", INT64_MIN}}}));
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, HasSubstr("once in 9223372036854775808 cycles"));
}

TEST_F(ExplainTest, DataPointThatTheDeviceHasNotIsSaidSo) {
    answer(Json::array());
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, ContainsRegex("Served by +nothing: the present device has no such data point\n"));
}

TEST_F(ExplainTest, ModelThatIsNotThereOrFailsIsSaidSo) {
    answer(Json::array(), {{"modelBuilt", false}, {"modelError", "wrong type"}});
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, ContainsRegex("Data model +cannot be initialised: wrong type\n"));
    EXPECT_THAT(out, ContainsRegex("Served by +nothing yet: there is no data model of the device\n"));
}

TEST_F(ExplainTest, DaemonThatDoesNotAnswerIsSaidSoAndTheStoreShown) {
    own(Inquiry::REQUEST);
    own(Inquiry::ANSWER);
    EXPECT_EQ(explain("Inputs.1.Measure.Voltage", Passing::AtOnce), ExitCode::Done);
    EXPECT_EQ(err, "tess: the daemon does not answer; shown is what the store alone knows\n");
    EXPECT_THAT(out, HasSubstr("float32, V"));
    EXPECT_THAT(out, Not(HasSubstr("Served by")));
}

TEST_F(ExplainTest, DaemonThatIsGoneIsNotAsked) {
    const std::uint64_t questions = own(Inquiry::REQUEST);
    own(Inquiry::ANSWER);
    sample.store->inbandAccessor().setChannelCValue(
        own("Daemon.Process"), qz::CValue{"pid=1 start=999999999999 boot=of-another-day space=pid:[1]"});
    explain("Inputs.1.Measure.Voltage");
    EXPECT_EQ(err, "tess: the daemon is not running; shown is what the store alone knows\n");
    EXPECT_FALSE(sample.store->inbandAccessor().isChannelValueInitialized(questions));
}

TEST_F(ExplainTest, DaemonAtRestIsWaitedForOnlyShortly) {
    own(Inquiry::REQUEST);
    own(Inquiry::ANSWER);
    sample.store->inbandAccessor().setChannelCValue(own("Daemon.Process"), qz::CValue{""});
    explain("Inputs.1.Measure.Voltage", Passing::AtOnce);
    EXPECT_EQ(err,
              "tess: the daemon is not at work and does not answer; shown is what the store alone knows\n");
}

TEST_F(ExplainTest, DaemonThatWaitsForItsDeviceAnswers) {
    sample.store->inbandAccessor().setChannelCValue(own("Daemon.Process"), qz::CValue{""});
    answer(Json::array(), {{"modelBuilt", false}, {"modelError", nullptr}});
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, HasSubstr("nothing yet: there is no data model of the device"));
    EXPECT_EQ(err, "");
}

TEST_F(ExplainTest, StoreWithoutADaemonIsExplainedByItself) {
    EXPECT_EQ(explain("Status.Mode"), ExitCode::Done);
    EXPECT_EQ(err, "tess: no daemon has ever answered questions in this store; shown is what the store alone "
                   "knows\n");
    EXPECT_THAT(out, HasSubstr("Status.Mode = on line"));
}

TEST_F(ExplainTest, SettingTellsWhoAskedForItLast) {
    note({{"program", "tess"}, {"user", "alice"}, {"pid", 4711}});
    explain("Outlets.1.Setting.AutomaticSwitchOffDelay");
    EXPECT_THAT(
        out, ContainsRegex("Asked for +5 at 2099-01-01T00:00:00\\.000Z, by tess \\(alice, process 4711\\): "
                           "accepted by the device\n"));
    EXPECT_THAT(out, ContainsRegex("Last write .*, by tess \\(alice, process 4711\\)\n"));
}

TEST_F(ExplainTest, WriterThatNobodyKnowsIsUnknown) {
    note(nullptr, false);
    explain("Outlets.1.Setting.AutomaticSwitchOffDelay");
    EXPECT_THAT(out, HasSubstr("by unknown: refused by the device: out of range\n"));
    EXPECT_THAT(out, ContainsRegex("Last write .*, by unknown\n"));
}

TEST_F(ExplainTest, WriterOfAnEarlierWriteIsNotTakenForTheOneOfThePresentValue) {
    note({{"program", "tess"}, {"user", "alice"}, {"pid", 4711}}, true, "2001-01-01T00:00:00.000Z");
    explain("Outlets.1.Setting.AutomaticSwitchOffDelay");
    EXPECT_THAT(out, ContainsRegex("Last write .*, by unknown\n"));
}

TEST_F(ExplainTest, SettingThatNobodyAskedForSaysSo) {
    explain("Outlets.1.Setting.AutomaticSwitchOffDelay");
    EXPECT_THAT(out, ContainsRegex("Asked for +not among the last writes to the device\n"));
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, Not(HasSubstr("Asked for")));
}

TEST_F(ExplainTest, TriggersAreShownWithTheirState) {
    auto named = trigger(3, qz::CValue{230.0F}, "");
    named.level = tessapi::LevelAlarm::none;
    setTriggers(sample.input, "Measure.Voltage",
                {trigger(1, qz::CValue{220.0F}, "HIGH"), trigger(2, qz::CValue{200.0F}, "LOW"), named});
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, ContainsRegex("\n  Trigger +critical \"HIGH\" at or above 220 V: active\n"
                                   "  Trigger +critical \"LOW\" at or below 200 V: not active\n"
                                   "  Trigger +state equal to 230 V: names a state\n"));
}

TEST_F(ExplainTest, TextOfTheDeviceHasNoStampsAndNoTriggers) {
    explain("Attribute.SerialNumber");
    EXPECT_THAT(out, ContainsRegex("^Attribute\\.SerialNumber = SN-1\n  Type +text of the device\n"));
    EXPECT_THAT(out, Not(HasSubstr("Last write")));
}

TEST_F(ExplainTest, ValueOfALostDeviceIsMarked) {
    sample.connect(false);
    explain("Inputs.1.Measure.Voltage");
    EXPECT_THAT(out, ContainsRegex("^Inputs.1.Measure.Voltage = 230\\.1 V \\(last known, lost since "));
}

TEST_F(ExplainTest, JsonIsOneObjectWithEverything) {
    answer(Json::array({reading()}));
    setTriggers(sample.input, "Measure.Voltage", {trigger(1, qz::CValue{220.0F}, "HIGH")});
    const Json object = json("Inputs.1.Measure.Voltage");
    EXPECT_EQ(object["path"], "Inputs.1.Measure.Voltage");
    EXPECT_EQ(object["value"], 230.1);
    EXPECT_EQ(object["unit"], "V");
    EXPECT_EQ(object["fresh"], true);
    EXPECT_EQ(object["writtenBy"], "powerdistributiond");
    EXPECT_EQ(object["daemonAnswered"], true);
    EXPECT_EQ(object["modelBuilt"], true);
    EXPECT_EQ(object["servedBy"][0]["plugin"], "/opt/lib/plug.so");
    EXPECT_EQ(object["servedBy"][0]["lastRead"], "2098-12-31T23:59:57.000Z");
    EXPECT_TRUE(object["servedBy"][0]["errorTime"].is_null());
    EXPECT_FALSE(object["servedBy"][0].contains("lastReadMs"));
    EXPECT_TRUE(object["lastRequest"].is_null());
    EXPECT_EQ(object["triggers"][0]["condition"], "upper");
    EXPECT_EQ(object["triggers"][0]["threshold1"], 220.0);
    EXPECT_EQ(object["triggers"][0]["code"], "HIGH");
    EXPECT_EQ(object["triggers"][0]["level"], "critical");
    EXPECT_EQ(object["triggers"][0]["active"], true);
}

TEST_F(ExplainTest, JsonWithoutTheDaemonSaysSo) {
    note({{"program", "tess"}, {"user", "alice"}, {"pid", 4711}});
    const Json object = json("Outlets.1.Setting.AutomaticSwitchOffDelay");
    EXPECT_EQ(object["daemonAnswered"], false);
    EXPECT_TRUE(object["modelBuilt"].is_null());
    EXPECT_EQ(object["servedBy"], Json::array());
    EXPECT_EQ(object["lastRequest"]["asked"], "5");
    EXPECT_EQ(object["lastRequest"]["by"]["user"], "alice");
}

TEST_F(ExplainTest, WrongPathNamesTheNearestRightOnes) {
    EXPECT_EQ(failure("Inputs.1.Measure.Voltge"),
              "no such path: \"Inputs.1.Measure.Voltge\"; did you mean \"Inputs.1.Measure.Voltage\"?");
    EXPECT_EQ(failure("Outlets.1.Action.SwitchOm"),
              "no such path: \"Outlets.1.Action.SwitchOm\"; did you mean \"Outlets.1.Action.SwitchOn\" or "
              "\"Outlets.1.Action.SwitchOff\"?");
    EXPECT_EQ(failure("something else entirely"),
              "no such path: \"something else entirely\"; tess tree shows all");
}

TEST_F(ExplainTest, PartOfTheDeviceIsNoValue) {
    EXPECT_EQ(failure("Inputs.1"),
              "\"Inputs.1\" is a part of the device and no value; see tess get 'Inputs.1.*' for its values");
    EXPECT_EQ(failure("PowerDistribution"),
              "\"PowerDistribution\" is a part of the device and no value; see tess tree for its values");
}

TEST_F(ExplainTest, ProgramExplainsFromItsCommandLine) {
    const auto program = sample.start({"explain", "Inputs.1.Measure.Voltage"});
    EXPECT_EQ(program->finish(), 0);
    EXPECT_THAT(program->output(), HasSubstr("float32, V"));
    const auto wrong = sample.start({"explain", "Nothing"});
    EXPECT_EQ(wrong->finish(), 4);
    EXPECT_THAT(wrong->errors(), HasSubstr("no such path: \"Nothing\""));
}

class TriggerStateTest : public ::testing::Test {
protected:
    /// Whether the trigger matches, with the store holding all its alarms to be active.
    static bool active(std::int8_t type, const qz::CValue& first, const qz::CValue& value,
                       const qz::CValue& second = {}) {
        qz::CAlarmTrigger trigger;
        trigger.type = type;
        trigger.threshold1 = first;
        trigger.threshold2 = second;
        trigger.level = tessapi::LevelAlarm::warning;
        tessapi::ChannelRecord channel;
        channel.value = value;
        channel.activeAlarms.push_back({true, tessapi::LevelAlarm::warning, -1, "", 1});
        return isActive(trigger, channel);
    }
};

TEST_F(TriggerStateTest, LineIsActiveWhenItMatchesAsTheStoreEvaluates) {
    EXPECT_TRUE(active(1, qz::CValue{5U}, qz::CValue{5.0F}));
    EXPECT_FALSE(active(1, qz::CValue{5U}, qz::CValue{4.9F}));
    EXPECT_TRUE(active(2, qz::CValue{5U}, qz::CValue{5}));
    EXPECT_FALSE(active(2, qz::CValue{5U}, qz::CValue{6}));
    EXPECT_TRUE(active(3, qz::CValue{true}, qz::CValue{true}));
    EXPECT_FALSE(active(3, qz::CValue{true}, qz::CValue{false}));
    EXPECT_TRUE(active(3, qz::CValue{"on"}, qz::CValue{"on"}));
    EXPECT_FALSE(active(3, qz::CValue{"on"}, qz::CValue{"off"}));
    EXPECT_TRUE(active(4, qz::CValue{1U}, qz::CValue{2U}, qz::CValue{2U}));
    EXPECT_FALSE(active(4, qz::CValue{1U}, qz::CValue{3U}, qz::CValue{2U}));
    EXPECT_FALSE(active(4, qz::CValue{1U}, qz::CValue{1U}));
    EXPECT_FALSE(active(-1, qz::CValue{1U}, qz::CValue{1U}));
    EXPECT_FALSE(active(3, qz::CValue{}, qz::CValue{}));
}

TEST_F(TriggerStateTest, LineThatTheStoreDoesNotHoldActiveIsNot) {
    qz::CAlarmTrigger trigger;
    trigger.type = 1;
    trigger.threshold1 = qz::CValue{5U};
    trigger.level = tessapi::LevelAlarm::warning;
    tessapi::ChannelRecord channel;
    channel.value = qz::CValue{9U};
    EXPECT_FALSE(isActive(trigger, channel));
    channel.activeAlarms.push_back({true, tessapi::LevelAlarm::critical, -1, "", 1});
    EXPECT_FALSE(isActive(trigger, channel));
}

TEST_F(TriggerStateTest, ConditionsAreNamedForPeopleAndPrograms) {
    tessapi::ChannelRecord channel;
    channel.unit = "%";
    qz::CAlarmTrigger trigger;
    trigger.threshold1 = qz::CValue{10U};
    trigger.threshold2 = qz::CValue{20U};
    const char* texts[] = {"never", "at or above 10 %", "at or below 10 %", "equal to 10 %",
                           "from 10 % to 20 %"};
    const char* names[] = {"never", "upper", "lower", "equal", "between"};
    for (int type = 0; type <= 4; ++type) {
        trigger.type = static_cast<std::int8_t>(type);
        EXPECT_EQ(conditionText(trigger, channel), texts[type]);
        EXPECT_EQ(conditionName(trigger), names[type]);
    }
    trigger.type = -1;
    EXPECT_EQ(conditionText(trigger, channel), "never");
}

} // namespace
} // namespace velk::cli
