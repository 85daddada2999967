#include "daemon/history/HistoryDesk.h"

#include "cli/Failure.h"
#include "cli/HistoryCommand.h"
#include "cli/JournalEntry.h"
#include "daemon/StoreFeed.h"
#include "daemon/WriteJournal.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/FakeClock.h"
#include "testing/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

// Questions are asked by one program and answered by another; here both meet.

namespace velk::daemon {
namespace {

using cli::ExitCode;
using ::testing::HasSubstr;

std::int64_t realNowMs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

class HistoryDeskTest : public ::testing::Test {
protected:
    using Opened = std::unique_ptr<tessapi::ITessAccessor>;

    HistoryDeskTest() {
        asker->emplaceDevice(uuid("equipment"), 1, 2);
        asker->emplaceDevice(uuid("device"), 2, 20);
        voltage = asker->inbandAccessor().emplaceChannel(20, "PowerDistribution.Measure.Voltage", false);
        mode = asker->inbandAccessor().emplaceChannel(20, "PowerDistribution.Status.Mode", false);
    }
    ~HistoryDeskTest() override { feed.reset(); }

    static velk::common::Uuid uuid(const std::string& name) {
        return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "sample " + name};
    }

    Opened open() const { return tessapi::TessAccessor::open("test", "memory:history-desk"); }

    void start(const HistorySettings& settings = {}) {
        desk.emplace(settings, errors, pauses, realNowMs);
        feed = std::make_unique<StoreFeed>([this] { return open(); }, std::vector<IStoreReader*>{&*desk},
                                           errors);
        feed->open();
    }

    void write(std::uint64_t channel, const qz::CValue& value) {
        asker->inbandAccessor().setChannelCValue(channel, value);
    }

    /// Asks as `tess history` does.
    ExitCode ask(const std::string& path, bool json = true,
                 std::chrono::seconds timeout = std::chrono::seconds{30}) {
        std::istringstream in;
        out.str("");
        err.str("");
        cli::Session session{
            *asker, in, out, err, velk::common::Clock::system(), json, false, cli::Style{false}, realNowMs};
        cli::HistoryOptions options;
        options.path = path;
        options.since = "1h";
        try {
            return cli::runHistory(session, options, timeout);
        } catch (const cli::Failure& failure) {
            err << failure.what();
            return failure.exitCode();
        }
    }

    /// Asks until the last value of a number is this one: writes take their way through the store.
    bool awaitLast(const std::string& path, double last) {
        for (int i = 0; i < 3000; ++i) {
            if (ask(path) == ExitCode::Done && nlohmann::json::parse(out.str())["whole"]["last"] == last) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds{10});
        }
        return false;
    }

    std::ostringstream errors;
    std::ostringstream out;
    std::ostringstream err;
    velk::testing::FakeClock pauses{velk::testing::FakeClock::Passing::ByHand};
    Opened asker{open()};
    std::uint64_t voltage{0};
    std::uint64_t mode{0};
    std::optional<HistoryDesk> desk;
    std::unique_ptr<StoreFeed> feed;
};

TEST_F(HistoryDeskTest, BothKnowTheSameChannels) {
    EXPECT_STREQ(HistoryDesk::REQUEST, cli::HISTORY_SUBJECT.request);
    EXPECT_STREQ(HistoryDesk::ANSWER, cli::HISTORY_SUBJECT.answer);
    EXPECT_EQ(HistoryDesk::MOST_COLUMNS, cli::HistoryOptions::MOST_POINTS);
}

TEST_F(HistoryDeskTest, WhatIsWrittenIsTold) {
    write(voltage, qz::CValue{230.1F});
    write(mode, qz::CValue{2U});
    start();
    write(voltage, qz::CValue{229.0F});
    write(mode, qz::CValue{3U});
    ASSERT_TRUE(awaitLast("Measure.Voltage", 229.0));
    const nlohmann::json number = nlohmann::json::parse(out.str());
    EXPECT_EQ(number["kind"], "number");
    EXPECT_EQ(number["unit"], "V");
    EXPECT_EQ(number["columns"].size(), 100U);
    EXPECT_EQ(number["whole"]["least"], 229.0);
    EXPECT_EQ(number["whole"]["greatest"], 230.1);
    ASSERT_EQ(ask("Status.Mode"), ExitCode::Done) << err.str();
    const nlohmann::json states = nlohmann::json::parse(out.str());
    EXPECT_EQ(states["kind"], "state");
    ASSERT_EQ(states["changes"].size(), 2U);
    EXPECT_EQ(states["changes"][0]["value"], 2);
    EXPECT_EQ(states["changes"][1]["text"], "on battery");
    EXPECT_EQ(errors.str(), "");
}

TEST_F(HistoryDeskTest, AChannelThatComesLaterHasAHistoryToo) {
    start();
    const std::uint64_t current =
        asker->inbandAccessor().emplaceChannel(20, "PowerDistribution.Measure.Current", false);
    write(current, qz::CValue{1.5F});
    write(current, qz::CValue{2.5F});
    EXPECT_TRUE(awaitLast("Measure.Current", 2.5));
    EXPECT_EQ(nlohmann::json::parse(out.str())["whole"]["least"], 1.5);
}

TEST_F(HistoryDeskTest, AStateThatChangedMoreOftenThanAnAnswerHoldsIsToldWhole) {
    start();
    const std::int64_t nowMs = realNowMs();
    const auto device = asker->browser().snapshot().devices.back();
    tessapi::ChannelRecord record;
    record.id = mode;
    record.name = "PowerDistribution.Status.Mode";
    record.type = qz::datatype::uint32;
    record.commonStates.add(qz::CValue{2U}, "on line");
    desk->meet(device, record, false);
    for (int i = 0; i < 2500; ++i) {
        // In pairs of the same moment, so that one is cut in two.
        desk->take({mode, qz::CValue{2U + static_cast<unsigned int>(i % 2)}, nowMs - 5000 + i / 2});
    }
    ASSERT_EQ(ask("Status.Mode"), ExitCode::Done) << err.str();
    const nlohmann::json answer = nlohmann::json::parse(out.str());
    EXPECT_EQ(answer["leftOut"], 0);
    ASSERT_EQ(answer["changes"].size(), 2500U);
    EXPECT_EQ(answer["changes"][0]["value"], 2);
    EXPECT_EQ(answer["changes"][2499]["value"], 3);
    ASSERT_EQ(ask("Status.Mode", false), ExitCode::Done) << err.str();
    EXPECT_THAT(out.str(), HasSubstr("1250 times"));
}

TEST_F(HistoryDeskTest, APointInTimeIsShownInLocalTime) {
    setenv("TZ", "UTC-3", 1);
    tzset();
    const std::uint64_t test =
        asker->inbandAccessor().emplaceChannel(20, "PowerDistribution.Status.LastTestResultDate", false);
    write(test, qz::CValue{qz::CTimestamp{1'700'000'000}});
    start();
    EXPECT_EQ(ask("Status.LastTestResultDate", false), ExitCode::Done) << err.str();
    EXPECT_THAT(out.str(), HasSubstr("2023-11-15 01:13:20  for "));
    EXPECT_EQ(ask("Status.LastTestResultDate"), ExitCode::Done) << err.str();
    EXPECT_THAT(out.str(), HasSubstr("\"2023-11-14T22:13:20.000Z\""));
    setenv("TZ", "UTC", 1);
    tzset();
}

TEST_F(HistoryDeskTest, TheClockOfTheDeviceHasNoHistory) {
    const std::uint64_t clock =
        asker->inbandAccessor().emplaceChannel(20, "PowerDistribution.Attribute.CurrentDate", false);
    write(clock, qz::CValue{qz::CTimestamp{1'700'000'000}});
    start();
    EXPECT_EQ(ask("Attribute.CurrentDate"), ExitCode::NoSuchPath);
    EXPECT_EQ(desk->history().channels(), 2U);
}

TEST_F(HistoryDeskTest, AChartIsDrawn) {
    write(voltage, qz::CValue{230.0F});
    start();
    EXPECT_EQ(ask("Measure.Voltage", false), ExitCode::Done) << err.str();
    EXPECT_THAT(out.str(), HasSubstr("least 230 V, mean 230 V, greatest 230 V, last 230 V\n"));
}

TEST_F(HistoryDeskTest, ValuesBehindALinkThatWasLostAtTheStartCountFromItsReturnOn) {
    const std::uint64_t state =
        asker->inbandAccessor().emplaceChannel(20, "PowerDistribution.CommunicationStatus.State", false);
    write(state, qz::CValue{3U});
    write(voltage, qz::CValue{230.0F});
    write(mode, qz::CValue{2U});
    start();
    EXPECT_EQ(ask("Measure.Voltage"), ExitCode::NoSuchPath);
    write(state, qz::CValue{2U});
    ASSERT_TRUE(awaitLast("Measure.Voltage", 230.0));
    ASSERT_EQ(ask("Status.Mode"), ExitCode::Done) << err.str();
    EXPECT_EQ(nlohmann::json::parse(out.str())["changes"].size(), 1U) << out.str();
}

TEST_F(HistoryDeskTest, AStateBehindALostLinkIsNullForProgramsAndHasNoShare) {
    const std::uint64_t state =
        asker->inbandAccessor().emplaceChannel(20, "PowerDistribution.CommunicationStatus.State", false);
    start();
    write(mode, qz::CValue{2U});
    write(state, qz::CValue{3U});
    write(voltage, qz::CValue{1.0F});
    write(state, qz::CValue{2U});
    ASSERT_TRUE(awaitLast("Measure.Voltage", 1.0));
    ASSERT_EQ(ask("Status.Mode"), ExitCode::Done) << err.str();
    const nlohmann::json changes = nlohmann::json::parse(out.str())["changes"];
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_EQ(changes[0]["value"], 2);
    EXPECT_TRUE(changes[1]["value"].is_null());
    EXPECT_EQ(changes[2]["value"], 2);
    ASSERT_EQ(ask("Status.Mode", false), ExitCode::Done) << err.str();
    EXPECT_THAT(out.str(), HasSubstr("2 times"));
}

TEST_F(HistoryDeskTest, WithoutAValueNothingIsKnown) {
    start();
    EXPECT_EQ(ask("Measure.Voltage"), ExitCode::NoSuchPath);
    EXPECT_EQ(err.str(), "nothing is known of the past of \"Measure.Voltage\"");
    EXPECT_EQ(ask("Measure.Voltag"), ExitCode::NoSuchPath);
    EXPECT_EQ(err.str(), "no such path: \"Measure.Voltag\"; did you mean \"Measure.Voltage\"?");
}

TEST_F(HistoryDeskTest, AHistoryThatIsSwitchedOffSaysSo) {
    HistorySettings settings;
    settings.enabled = false;
    write(voltage, qz::CValue{230.0F});
    start(settings);
    EXPECT_EQ(ask("Measure.Voltage"), ExitCode::Failed);
    EXPECT_EQ(err.str(), "the daemon keeps no history: its configuration has it switched off");
    EXPECT_EQ(desk->history().bytes(), 0U);
}

TEST_F(HistoryDeskTest, WithoutADaemonItIsSaidThatItAloneKnows) {
    EXPECT_EQ(ask("Measure.Voltage"), ExitCode::Failed);
    EXPECT_EQ(err.str(), "no daemon has ever answered questions in this store; it alone knows what was");
    start();
    feed.reset();
    EXPECT_EQ(ask("Measure.Voltage", true, std::chrono::seconds{0}), ExitCode::Failed);
    EXPECT_EQ(err.str(), "the daemon does not answer; it alone knows what was");
}

TEST_F(HistoryDeskTest, TheDaemonsOwnDeviceHasNoHistory) {
    const std::uint64_t own = WriteJournal::emplaceDaemonDevice(*asker);
    const std::uint64_t writes = asker->inbandAccessor().emplaceChannel(own, WriteJournal::WRITES, false);
    write(writes, qz::CValue{"[]"});
    start();
    EXPECT_EQ(desk->history().channels(), 2U);
}

TEST_F(HistoryDeskTest, QuestionsThatAreNoneAreNotAnsweredAndTheRestIs) {
    write(voltage, qz::CValue{230.0F});
    start();
    tessapi::InBandAccessor& inband = asker->inbandAccessor();
    const std::uint64_t own = asker->deviceIdOf(cli::JournalEntry::deviceUuid());
    const std::uint64_t questions = inband.getCatchedChannelId(own, HistoryDesk::REQUEST);
    for (const char* text : {"", "{}", R"({"id":"1","path":"x"})", R"({"id":"1","channel":-1,"path":"x"})",
                             R"({"id":"1","channel":1,"path":5})"}) {
        inband.setChannelCValue(questions, qz::CValue{text});
    }
    const std::string question = R"({"id":"wild","path":"","columns":-5,"fromMs":9223372036854775807,)"
                                 R"("toMs":-9223372036854775807,"channel":)" +
                                 std::to_string(voltage) + "}";
    inband.setChannelCValue(questions, qz::CValue{question});
    EXPECT_EQ(ask("Measure.Voltage"), ExitCode::Done) << err.str();
}

TEST_F(HistoryDeskTest, TheFileBringsTheHistoryOverTheEndOfTheProcess) {
    const velk::testing::TemporaryDirectory folder;
    HistorySettings settings;
    settings.file = folder / "history";
    write(voltage, qz::CValue{230.0F});
    start(settings);
    write(voltage, qz::CValue{100.0F});
    ASSERT_TRUE(awaitLast("Measure.Voltage", 100.0));
    feed.reset();
    desk->finish();
    desk.reset();
    write(voltage, qz::CValue{231.0F}); // while nobody looks
    start(settings);
    ASSERT_TRUE(awaitLast("Measure.Voltage", 231.0));
    EXPECT_EQ(nlohmann::json::parse(out.str())["whole"]["least"], 100.0);
    EXPECT_EQ(errors.str(), "");
}

TEST_F(HistoryDeskTest, TheFileIsSavedEverySoManyMinutes) {
    const velk::testing::TemporaryDirectory folder;
    HistorySettings settings;
    settings.file = folder / "history";
    settings.saveEvery = std::chrono::minutes{5};
    HistoryDesk own{settings, errors, pauses, realNowMs};
    pauses.advance(std::chrono::seconds{299});
    own.tick();
    EXPECT_FALSE(std::filesystem::exists(settings.file));
    pauses.advance(std::chrono::seconds{1});
    own.tick();
    EXPECT_TRUE(std::filesystem::exists(settings.file));
    std::filesystem::remove(settings.file);
    pauses.advance(std::chrono::seconds{299});
    own.tick();
    EXPECT_FALSE(std::filesystem::exists(settings.file));
}

} // namespace
} // namespace velk::daemon
