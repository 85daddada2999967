#include "cli/JournalEntry.h"
#include "cli/Outcome.h"
#include "cli/ValueText.h"
#include "cli/WriterNote.h"
#include "daemon/WriteJournal.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <thread>
#include <unistd.h>

// The journal is written by one program and read by another; here both meet.

namespace velk::daemon {
namespace {

using velk::cli::JournalEntry;
using velk::cli::Outcome;
using velk::powerdistribution::DeviceWrite;
using velk::powerdistribution::Value;

class JournalReadersTest : public ::testing::Test {
protected:
    std::unique_ptr<tessapi::TessAccessor> open() const {
        return tessapi::TessAccessor::open("test", "memory:journal-readers");
    }

    std::unique_ptr<tessapi::TessAccessor> reader{open()};
    std::ostringstream errors;
    velk::testing::FakeClock clock{velk::testing::FakeClock::Passing::ByHand};
    WriteJournal journal{[this] { return open(); }, errors, clock};
};

TEST_F(JournalReadersTest, BothKnowTheSameDeviceAndChannels) {
    EXPECT_EQ(WriteJournal::deviceUuid(), JournalEntry::deviceUuid());
    EXPECT_STREQ(WriteJournal::WRITES, JournalEntry::WRITES);
    EXPECT_STREQ(WriteJournal::LAST_WRITE, JournalEntry::LAST_WRITE);
}

TEST_F(JournalReadersTest, WhoWaitsForTheOutcomeHearsOfIt) {
    journal.open();
    Outcome outcome{*reader, velk::common::Clock::system()};
    ASSERT_TRUE(outcome.isPossible());
    journal.record({"Outlets.1", "Setting.Other", Value{std::int32_t{30}}, true, "", conv::UnixTime{1}});
    journal.record({"Outlets.1", "Setting.Delay", Value{std::int32_t{31}}, true, "", conv::UnixTime{1}});
    journal.record({"Outlets.1", "Setting.Delay", Value{std::int32_t{30}}, false, "no", conv::UnixTime{1}});
    const auto note = outcome.waitFor("Outlets.1", "Setting.Delay", cli::plainText(qz::CValue{30}),
                                      std::chrono::seconds{30});
    ASSERT_TRUE(note);
    EXPECT_FALSE(note->accepted);
    EXPECT_EQ(note->error, "no");
    EXPECT_EQ(note->sequence, 3U);
    EXPECT_EQ(errors.str(), "");
}

/// A write of which somebody may have told before that it is theirs.
class WriterOfANoteTest : public JournalReadersTest {
protected:
    WriterOfANoteTest() { journal.open(); }

    static cli::Point point() {
        cli::Point point;
        point.devicePath = "Outlets.1";
        point.name = "Setting.Delay";
        return point;
    }

    void announce(std::int32_t value, std::int64_t timeMs = 100'000) {
        cli::announceWriter(*reader, point(), qz::CValue{value}, timeMs);
    }

    void awaitAnnounced(std::size_t count) const {
        for (int i = 0; i < 3000 && journal.announced() < count; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds{10});
        }
    }

    /// Who wrote, by the note of a write at 100 s.
    std::string recorded(std::int32_t value, const std::string& channel = "Setting.Delay") {
        journal.record({"Outlets.1", channel, Value{value}, true, "", conv::UnixTime{100}});
        const std::uint64_t device = reader->deviceIdOf(JournalEntry::deviceUuid());
        tessapi::InBandAccessor& inband = reader->inbandAccessor();
        const auto note = JournalEntry::parse(
            inband.getChannelCValue(inband.getCatchedChannelId(device, JournalEntry::LAST_WRITE))
                .as_string());
        if (!note || !note->by) {
            return "unknown";
        }
        EXPECT_EQ(note->by->user.empty(), note->by->program == "powerdistributiond");
        return note->by->program + " " + std::to_string(note->by->pid);
    }

    const std::string own{"tess " + std::to_string(getpid())};
};

TEST_F(WriterOfANoteTest, ProgramThatToldBeforeIsNamed) {
    announce(30);
    EXPECT_EQ(recorded(30), own);
}

TEST_F(WriterOfANoteTest, ProgramThatToldBeforeIsNamedInTheRecordToo) {
    announce(30);
    recorded(30);
    recorded(30);
    const std::vector<tessapi::WriteRecord> records = reader->browser().writeRecords(0, 10);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].program, "tess");
    EXPECT_EQ(records[0].user, cli::ownUser());
    EXPECT_EQ(records[1].program, "");
    EXPECT_EQ(records[1].user, "");
}

TEST_F(WriterOfANoteTest, NobodyIsNamedForAWriteThatNobodyTold) {
    EXPECT_EQ(recorded(30), "unknown");
}

TEST_F(WriterOfANoteTest, TellingCountsForThatDataPointAndValueAlone) {
    announce(30);
    EXPECT_EQ(recorded(31), "unknown");
    EXPECT_EQ(recorded(30, "Setting.Other"), "unknown");
    EXPECT_EQ(recorded(30), own);
}

TEST_F(WriterOfANoteTest, TellingCountsForOneWrite) {
    announce(30);
    EXPECT_EQ(recorded(30), own);
    EXPECT_EQ(recorded(30), "unknown");
    announce(30, 100'001);
    EXPECT_EQ(recorded(30), own);
}

TEST_F(WriterOfANoteTest, EachOfSeveralAtOnceKeepsItsWriter) {
    for (std::int32_t value = 30; value < 34; ++value) {
        announce(value);
    }
    awaitAnnounced(4);
    for (const std::int32_t value : {32, 30, 33, 31}) {
        EXPECT_EQ(recorded(value), own) << value;
    }
    EXPECT_EQ(recorded(31), "unknown") << "each counts once";
    EXPECT_EQ(journal.announced(), 0U);
}

TEST_F(WriterOfANoteTest, WritesOfTheDaemonItselfAreItsOwn) {
    EXPECT_EQ(recorded(30, "PrivateAction.SetMacAddress"), "powerdistributiond " + std::to_string(getpid()));
    EXPECT_EQ(reader->browser().writeRecords(0, 10).at(0).program, "powerdistributiond");
}

TEST_F(WriterOfANoteTest, TellingCountsForAMinuteSinceItWasHeard) {
    announce(30);
    awaitAnnounced(1);
    clock.advance(WriteJournal::WRITER_LASTS);
    EXPECT_EQ(recorded(30), own);
    announce(31);
    awaitAnnounced(1);
    clock.advance(WriteJournal::WRITER_LASTS + std::chrono::milliseconds{1});
    EXPECT_EQ(recorded(31), "unknown");
    EXPECT_EQ(recorded(31), "unknown") << "nor is it heard once more";
}

TEST_F(WriterOfANoteTest, ClockOfWhoTellsDoesNotMatter) {
    announce(30, 0);
    EXPECT_EQ(recorded(30), own);
    announce(31, 4'000'000'000'000);
    EXPECT_EQ(recorded(31), own);
}

TEST_F(WriterOfANoteTest, WhatWasToldBeforeTheJournalBeganNamesNobody) {
    announce(30);
    WriteJournal next{[this] { return open(); }, errors, clock};
    next.open();
    next.record({"Outlets.1", "Setting.Delay", Value{std::int32_t{30}}, true, "", conv::UnixTime{100}});
    EXPECT_EQ(reader->browser().writeRecords(0, 10).at(0).program, "");
}

TEST_F(WriterOfANoteTest, WhatIsNoTellingNamesNobody) {
    tessapi::InBandAccessor& inband = reader->inbandAccessor();
    const std::uint64_t device = reader->deviceIdOf(JournalEntry::deviceUuid());
    const std::uint64_t channel = inband.getCatchedChannelId(device, WriteJournal::WRITER);
    for (const char* text :
         {"", "tess", "[]", "{}", R"({"device":"Outlets.1"})",
          R"({"device":"Outlets.1","channel":"Setting.Delay","asked":"30","timeMs":"now"})",
          R"({"device":"Outlets.1","channel":"Setting.Delay","asked":"30","timeMs":1e300})",
          R"({"device":"Outlets.1","channel":"Setting.Delay","asked":"30","timeMs":-9223372036854775808})"}) {
        inband.setChannelCValue(channel, qz::CValue{text});
        EXPECT_EQ(recorded(30), "unknown") << text;
    }
}

/// What a note of a refused write tells of the value that stands in the store.
class RefusedValueTest : public JournalReadersTest {
protected:
    RefusedValueTest() {
        tessapi::InBandAccessor& inband = reader->inbandAccessor();
        reader->emplaceDevice(velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "ups"}, 1, 20);
        const std::uint64_t outlet =
            reader->emplaceDevice(velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "outlet"}, 20, 0);
        inband.setDeviceAttribute(outlet, tessapi::DeviceAttribute::path, "Outlets.1");
        inband.setChannelCValue(
            inband.emplaceChannel(outlet, "PowerDistribution.Setting.AutomaticSwitchOffDelay", false),
            qz::CValue{30});
        inband.setChannelCValue(
            inband.emplaceChannel(20, "PowerDistribution.Setting.AutomaticSwitchOffDelay", false),
            qz::CValue{40});
        journal.open();
    }

    JournalEntry noted(const std::string& device, std::int32_t asked, bool accepted = false) {
        journal.record(
            {device, "Setting.AutomaticSwitchOffDelay", Value{asked}, accepted, "", conv::UnixTime{100}});
        tessapi::InBandAccessor& inband = reader->inbandAccessor();
        const std::uint64_t own = reader->deviceIdOf(JournalEntry::deviceUuid());
        const std::uint64_t channel = inband.getCatchedChannelId(own, JournalEntry::LAST_WRITE);
        return JournalEntry::parse(inband.getChannelCValue(channel).as_string()).value();
    }

    std::int64_t changedMs(const std::string& value) {
        for (const tessapi::ChannelRecord& channel : reader->browser().snapshot().channels) {
            if (cli::plainText(channel.value) == value) {
                return channel.changedMs;
            }
        }
        return -1;
    }
};

TEST_F(RefusedValueTest, IsKnownByTheTimeOfItsChange) {
    EXPECT_EQ(noted("Outlets.1", 30).changedMs, changedMs("30"));
    EXPECT_EQ(noted("", 40).changedMs, changedMs("40"));
}

TEST_F(RefusedValueTest, IsNotKnownWhenTheStoreHasAnotherOneOrNone) {
    EXPECT_FALSE(noted("Outlets.1", 31).changedMs);
    EXPECT_FALSE(noted("Outlets.2", 30).changedMs);
}

TEST_F(RefusedValueTest, IsNoneWhenTheDeviceTookIt) {
    EXPECT_FALSE(noted("Outlets.1", 30, true).changedMs);
}

TEST_F(JournalReadersTest, TellingNobodyWhoWritesHarmsNothing) {
    const auto empty = tessapi::TessAccessor::open("test", "memory:no-daemon");
    EXPECT_NO_THROW(cli::announceWriter(*empty, cli::Point{}, qz::CValue{1}, 0));
    EXPECT_TRUE(empty->browser().snapshot().channels.empty());
}

TEST_F(JournalReadersTest, NobodyHearsOfWritesBeforeHeAsked) {
    journal.record({"", "Action.StartTest", Value{true}, true, "", conv::UnixTime{1}});
    Outcome outcome{*reader, velk::common::Clock::system()};
    EXPECT_FALSE(outcome.waitFor("", "Action.StartTest", "true", std::chrono::milliseconds{20}));
}

TEST_F(JournalReadersTest, EveryKindOfValueIsNamedAsWhoAskedNamesIt) {
    EXPECT_EQ(askedText(Value{true}), cli::plainText(qz::CValue{true}));
    EXPECT_EQ(askedText(Value{std::int32_t{-1}}), cli::plainText(qz::CValue{std::int32_t{-1}}));
    EXPECT_EQ(askedText(Value{std::uint32_t{7}}), cli::plainText(qz::CValue{std::uint32_t{7}}));
    EXPECT_EQ(askedText(Value{0.1F}), cli::plainText(qz::CValue{0.1F}));
    EXPECT_EQ(askedText(Value{1e10F}), cli::plainText(qz::CValue{1e10F}));
    EXPECT_EQ(askedText(Value{std::string{"x y"}}), cli::plainText(qz::CValue{"x y"}));
}

TEST_F(JournalReadersTest, WithoutADaemonThereIsNoOutcome) {
    const auto empty = tessapi::TessAccessor::open("test", "memory:journal-readers-empty");
    const Outcome outcome{*empty, velk::common::Clock::system()};
    EXPECT_FALSE(outcome.isPossible());
}

} // namespace
} // namespace velk::daemon
