#include "powerdistribution/core/InternalLogChunk.h"

#include <gtest/gtest.h>

namespace velk::powerdistribution {
namespace {

using Entry = InternalLogChunk::InternalLogEntry;

Entry entry() {
    Entry event;
    event.id = 42;
    event.code = 7;
    event.date = conv::UnixTime{1706704496U};
    event.status = 3;
    event.mode = 12;
    event.reason = 345;
    event.data = 99;
    event.severity = 2;
    return event;
}

TEST(InternalLogChunkTest, EntryPrintsInFixedWidthsFilledWithZeros) {
    EXPECT_EQ(entry().toString("Event "), "Event 00000042 2024-01-31T12:34:56.000Z 00007 03 12 00345 02");
}

TEST(InternalLogChunkTest, EntryPrintsWithSixBlanksByItself) {
    EXPECT_EQ(entry().toString(), "      00000042 2024-01-31T12:34:56.000Z 00007 03 12 00345 02");
}

TEST(InternalLogChunkTest, StatusPrintsAsANumberAndNotAsACharacter) {
    Entry event = entry();
    event.status = 65;
    EXPECT_NE(event.toString("").find(" 65 "), std::string::npos);
    EXPECT_EQ(event.toString("").find('A'), std::string::npos);
}

TEST(InternalLogChunkTest, NumbersThatDoNotFitTheirColumnsPrintWhole) {
    Entry event = entry();
    event.id = 4294967295U;
    event.code = 65535;
    event.status = 255;
    event.mode = 65535;
    event.severity = -100;
    EXPECT_EQ(event.toString(""), "4294967295 2024-01-31T12:34:56.000Z 65535 255 65535 00345 -100");
    event.severity = -1;
    EXPECT_EQ(event.toString("").substr(event.toString("").size() - 8), "00345 -1");
}

TEST(InternalLogChunkTest, HeaderStandsAboveTheColumns) {
    const std::string header = Entry::header("Event ");
    EXPECT_EQ(header, "Event Id       Date                     Code  St Md Rc    Sev");
    const std::string line = entry().toString("Event ");
    EXPECT_EQ(header.find("Date"), line.find("2024"));
    EXPECT_EQ(header.find("Code"), line.find("00007"));
    EXPECT_EQ(header.find("Rc"), line.find("00345"));
}

TEST(InternalLogChunkTest, EmptyChunkPrintsNullAndTracesNothing) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(InternalLogChunk{}.toString(), "Internal Log Chunk= NULL");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST(InternalLogChunkTest, ChunkPrintsItsPiecesWithoutSeparatorAndTracesThem) {
    const InternalLogChunk::Entries entries{entry(), entry(), entry()};
    const InternalLogChunk chunk{entries.begin(), entries.begin() + 2};
    ASSERT_EQ(chunk.entries().size(), 2U);
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(chunk.toString(),
              "Internal Log Chunk= " + Entry::header("Event ") + entry().toString() + entry().toString());
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "header\ntoString\ntoString\n");
}

} // namespace
} // namespace velk::powerdistribution
