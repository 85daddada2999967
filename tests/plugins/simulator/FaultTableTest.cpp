#include "plugins/simulator/world/FaultTable.h"

#include "plugins/simulator/PluginFile.h"
#include "plugins/simulator/world/Glob.h"
#include "plugins/simulator/world/Headlines.h"
#include "plugins/simulator/world/JsonText.h"
#include "plugins/simulator/world/ValueText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

namespace velk::simulator {
namespace {

using powerdistribution::InternalLogChunk;
using powerdistribution::Value;

Fault thrown(Operation operation, const std::string& path = {}) {
    Fault fault;
    fault.kind = FaultKind::Throw;
    fault.operation = operation;
    fault.path = path;
    fault.what = "boom";
    return fault;
}

Fault timed(FaultKind kind, int ms) {
    Fault fault;
    fault.kind = kind;
    fault.time = std::chrono::milliseconds{ms};
    return fault;
}

TEST(FaultTableTest, NewFaultOfTheDeviceTakesThePlaceOfTheLastOfItsKind) {
    FaultTable table;
    table.add(timed(FaultKind::Slow, 5));
    table.add(timed(FaultKind::Slow, 7));
    ASSERT_EQ(table.all().size(), 1U);
    EXPECT_EQ(table.find(FaultKind::Slow)->time, std::chrono::milliseconds{7});
}

TEST(FaultTableTest, FaultsOfDataPointsAddUp) {
    FaultTable table;
    Fault garbage;
    garbage.kind = FaultKind::Garbage;
    garbage.path = "A";
    table.add(garbage);
    garbage.path = "B.*";
    table.add(garbage);
    EXPECT_TRUE(table.concerns(FaultKind::Garbage, "A"));
    EXPECT_TRUE(table.concerns(FaultKind::Garbage, "B.1.C"));
    EXPECT_FALSE(table.concerns(FaultKind::Garbage, "C"));
    EXPECT_FALSE(table.concerns(FaultKind::WrongAlternative, "A"));
}

TEST(FaultTableTest, ClearTakesOneKindOrAll) {
    FaultTable table{{timed(FaultKind::Slow, 5), timed(FaultKind::LinkLost, 0), thrown(Operation::Read)}};
    table.clear(FaultKind::Slow);
    EXPECT_FALSE(table.has(FaultKind::Slow));
    EXPECT_TRUE(table.has(FaultKind::LinkLost));
    table.clear();
    EXPECT_TRUE(table.all().empty());
    EXPECT_NO_THROW(table.throwIf(Operation::Read));
}

TEST(FaultTableTest, ThrowsOnlyFromItsOperationAndPath) {
    FaultTable table{{thrown(Operation::Read, "A.*")}};
    EXPECT_NO_THROW(table.throwIf(Operation::Write, "A.1"));
    EXPECT_NO_THROW(table.throwIf(Operation::Read, "B.1"));
    try {
        table.throwIf(Operation::Read, "A.1");
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "boom");
    }
}

TEST(FaultTableTest, ThrowsAsOftenAsItIsTold) {
    Fault fault = thrown(Operation::Read);
    fault.times = 2;
    FaultTable table{{fault}};
    EXPECT_THROW(table.throwIf(Operation::Read), std::runtime_error);
    EXPECT_THROW(table.throwIf(Operation::Read), std::runtime_error);
    EXPECT_NO_THROW(table.throwIf(Operation::Read));
    EXPECT_TRUE(table.all().empty());
}

TEST(FaultTableTest, ForeignExceptionIsNoStandardOne) {
    Fault fault = thrown(Operation::Discover);
    fault.isStandard = false;
    FaultTable table{{fault}};
    EXPECT_THROW(table.throwIf(Operation::Discover), ForeignException);
}

TEST(FaultTableTest, FaultsAreDescribedInALine) {
    Fault fault = thrown(Operation::BuildWrapper, "Inputs.*");
    fault.times = 2;
    EXPECT_EQ(describe(fault), "throw from buildWrapper of Inputs.*, 2 times");
    EXPECT_EQ(describe(timed(FaultKind::Flapping, 500)), "flapping, 500 ms");
    EXPECT_EQ(describe(timed(FaultKind::NoIdentity, 0)), "noIdentity");
}

TEST(PluginFileTest, SectionIsThePartOfTheNameThatTellsPluginsApart) {
    EXPECT_EQ(sectionOf("/lib/libvelk-mz-protocol-twin.so"), "twin");
    EXPECT_EQ(sectionOf("libvelk-mz-protocol-simulator.so.2"), "simulator");
    EXPECT_EQ(sectionOf("libvelk-mz-protocol-.so"), "simulator");
    EXPECT_EQ(sectionOf("patched.so"), "simulator");
    EXPECT_NE(protocolUuidOf("twin"), protocolUuidOf("simulator"));
    EXPECT_EQ(protocolUuidOf("twin"), protocolUuidOf("twin"));
}

TEST(GlobTest, StarStandsForAnyTextAndNothingElseIsSpecial) {
    EXPECT_TRUE(matchesGlob("*", ""));
    EXPECT_TRUE(matchesGlob("A*C*", "ABC"));
    EXPECT_TRUE(matchesGlob("*.Measure.*", "Inputs.1.Measure.Voltage"));
    EXPECT_TRUE(matchesGlob("a*b*c", "axxbyybzc"));
    EXPECT_FALSE(matchesGlob("A*C", "ABCD"));
    EXPECT_FALSE(matchesGlob("A.C", "ABC"));
    EXPECT_FALSE(matchesGlob("", "A"));
    EXPECT_TRUE(matchesGlob("", ""));
}

TEST(JsonTextTest, WhatIsNoTextComesOutReadable) {
    EXPECT_EQ(jsonText("a\"b\\c\n\x01"), R"("a\"b\\c\n\u0001")");
    EXPECT_EQ(jsonText("\xc3\xa4"), "\"\xc3\xa4\"");
    EXPECT_EQ(jsonText("\xff"), "\"\xEF\xBF\xBD\"");
    EXPECT_EQ(jsonText("\xed\xa0\x80").size(), 2 + 3 * 3U); // half of a pair is no character
    EXPECT_EQ(jsonText("\xc3"), "\"\xEF\xBF\xBD\"");
}

TEST(JsonTextTest, ValuesAreWrittenByTheirAlternative) {
    EXPECT_EQ(jsonValue({}), "null");
    EXPECT_EQ(jsonValue(true), "true");
    EXPECT_EQ(jsonValue(std::int32_t{-5}), "-5");
    EXPECT_EQ(jsonValue(std::uint32_t{4294967295U}), "4294967295");
    EXPECT_EQ(jsonValue(230.1F), "230.1");
    EXPECT_EQ(jsonValue(std::numeric_limits<float>::quiet_NaN()), "null");
    EXPECT_EQ(jsonValue(conv::UnixTime{0}), "\"1970-01-01T00:00:00.000Z\"");
    EXPECT_EQ(jsonValue(std::string{"x"}), "\"x\"");
    InternalLogChunk::InternalLogEntry entry;
    entry.id = 3;
    entry.code = 7;
    entry.severity = 2;
    const std::vector<InternalLogChunk::InternalLogEntry> entries{entry};
    EXPECT_EQ(jsonValue(InternalLogChunk{entries.begin(), entries.end()}),
              R"([{"id":3,"date":"1970-01-01T00:00:00.000Z","code":7,"severity":2}])");
}

TEST(HeadlinesTest, FollowerGetsWhatWasSaidFromWhereItBegan) {
    Headlines headlines;
    headlines.say("one", std::chrono::milliseconds{1500});
    std::string text;
    const std::size_t next = headlines.append(0, text);
    EXPECT_EQ(text, "{\"say\":\"one\",\"at\":1.5}\n");
    EXPECT_EQ(next, 1U);
    headlines.end("demo", std::chrono::milliseconds{2000});
    text.clear();
    EXPECT_EQ(headlines.append(next, text), 2U);
    EXPECT_EQ(text, "{\"ended\":\"demo\",\"at\":2}\n");
}

TEST(HeadlinesTest, OnlyTheLastOnesAreKept) {
    Headlines headlines;
    for (std::size_t count = 0; count < Headlines::KEPT + 5; ++count) {
        headlines.say(std::to_string(count), std::chrono::milliseconds{0});
    }
    std::string text;
    EXPECT_EQ(headlines.append(0, text), Headlines::KEPT + 5);
    EXPECT_EQ(text.rfind("{\"say\":\"5\",", 0), 0U);
}

} // namespace
} // namespace velk::simulator
