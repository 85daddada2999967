#include "cli/JournalEntry.h"

#include <gtest/gtest.h>

namespace velk::cli {
namespace {

constexpr const char* NOTE =
    R"({"sequence":7,"device":"Outlets.1","channel":"Setting.AutomaticSwitchOffDelay",)"
    R"("asked":"30","accepted":false,"error":"too long","time":"2026-11-21T13:38:11.000Z"})";

TEST(JournalEntryTest, ReadsANote) {
    const std::optional<JournalEntry> note = JournalEntry::parse(NOTE);
    ASSERT_TRUE(note);
    EXPECT_EQ(note->sequence, 7U);
    EXPECT_EQ(note->device, "Outlets.1");
    EXPECT_EQ(note->channel, "Setting.AutomaticSwitchOffDelay");
    EXPECT_EQ(note->asked, "30");
    EXPECT_FALSE(note->accepted);
    EXPECT_EQ(note->error, "too long");
    EXPECT_EQ(note->time, "2026-11-21T13:38:11.000Z");
}

TEST(JournalEntryTest, WhatIsNoNoteIsNone) {
    for (const char* text : {"", "{", "{}", "[]", "7", R"({"sequence":"7"})"}) {
        EXPECT_FALSE(JournalEntry::parse(text)) << text;
    }
}

TEST(JournalEntryTest, NumberThatNoWholeNumberHoldsIsNoEntry) {
    for (const std::string number : {"744444444444444444444444444444444", "1e30", "-1", "1.5"}) {
        std::string text{NOTE};
        const auto place = text.find("\"sequence\":") + std::string{"\"sequence\":"}.size();
        text.replace(place, text.find(',', place) - place, number);
        EXPECT_FALSE(JournalEntry::parse(text)) << text;
    }
}

TEST(JournalEntryTest, ReadsAnArrayAndLeavesOutWhatIsNoNote) {
    const std::string array = std::string{"["} + NOTE + ", 5, " + NOTE + "]";
    EXPECT_EQ(JournalEntry::parseAll(array).size(), 2U);
    EXPECT_TRUE(JournalEntry::parseAll("").empty());
    EXPECT_TRUE(JournalEntry::parseAll("{}").empty());
}

} // namespace
} // namespace velk::cli
