#include "cli/JournalEntry.h"
#include "cli/Outcome.h"
#include "cli/ValueText.h"
#include "daemon/WriteJournal.h"
#include "platform/tessapi/TessAccessor.h"

#include <gtest/gtest.h>

#include <sstream>

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
    WriteJournal journal{[this] { return open(); }, errors};
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
