#include "platform/tessapi/catalogue/Catalogue.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace {

using qz::CValue;
using qz::datatype;
using tessapi::Catalogue;
using tessapi::CatalogueEntry;

const std::string VOLTAGE{"PowerDistribution.Measure.Voltage"};
const std::string SOURCE{"PowerDistribution.Status.Source"};
const std::string MODE{"PowerDistribution.Status.Mode"};

/// A store's folder whose catalogue.d holds what a test writes into it.
class CatalogueFilesTest : public ::testing::Test {
protected:
    void add(const std::string& name, const std::string& json) {
        std::filesystem::create_directories(folder / "catalogue.d");
        std::ofstream{path(name)} << json;
    }

    std::filesystem::path path(const std::string& name) const { return folder / "catalogue.d" / name; }

    /// Loads and keeps what was said on the standard error.
    Catalogue load() {
        ::testing::internal::CaptureStderr();
        Catalogue catalogue = Catalogue::forStore(folder / "tess.db");
        said = ::testing::internal::GetCapturedStderr();
        return catalogue;
    }

    CatalogueEntry entry(const std::string& name) {
        const Catalogue catalogue = load();
        const CatalogueEntry* found = catalogue.find(name);
        return found == nullptr ? CatalogueEntry{datatype::unknown, {}, {}, {}} : *found;
    }

    /// Expects that `json` is refused with this line, and that nothing of it has come into the catalogue.
    void expectRefused(const std::string& json, const std::string& place, const std::string& reason) {
        add("bad.json", json);
        const Catalogue catalogue = load();
        EXPECT_EQ(said, path("bad.json").string() + ":" + place + ": " + reason + "\n");
        EXPECT_TRUE(catalogue.entries() == Catalogue::builtin().entries());
    }

    velk::testing::TemporaryDirectory folder;
    std::string said;
};

TEST_F(CatalogueFilesTest, WithoutAFolderTheBuiltInCatalogueHolds) {
    EXPECT_TRUE(load().entries() == Catalogue::builtin().entries());
    EXPECT_EQ(said, "");
}

TEST_F(CatalogueFilesTest, AFileAddsNames) {
    add("plant.json",
        R"({"Plant.Humidity": {"type": "float32", "unit": "%", "description": "Humidity of the room"},
            "Plant.Door": {"type": "boolean", "states": {"false": "shut", "true": "open"}}})");
    const CatalogueEntry humidity = entry("Plant.Humidity");
    EXPECT_EQ(humidity.type, datatype::float32);
    EXPECT_EQ(humidity.unit, "%");
    EXPECT_EQ(humidity.description, "Humidity of the room");
    const CatalogueEntry door = entry("Plant.Door");
    ASSERT_NE(door.labels.find(CValue{true}), nullptr);
    EXPECT_EQ(*door.labels.find(CValue{true}), "open");
    EXPECT_EQ(load().entries().size(), Catalogue::builtin().entries().size() + 2);
    EXPECT_EQ(said, "");
}

TEST_F(CatalogueFilesTest, WhatAnEntryLeavesOutStaysAsItWas) {
    add("names.json", "{\"" + SOURCE + R"(": {"states": {"1": "mains", "2": "generator"}}})");
    const CatalogueEntry source = entry(SOURCE);
    const CatalogueEntry before = *Catalogue::builtin().find(SOURCE);
    EXPECT_EQ(source.type, before.type);
    EXPECT_EQ(source.description, before.description);
    ASSERT_EQ(source.labels.entries().size(), 2u);
    EXPECT_EQ(source.labels.entries()[1], (qz::CMultistateMap::Entry{CValue{2u}, "generator"}));
}

TEST_F(CatalogueFilesTest, StatesReplaceAllStates) {
    add("names.json", "{\"" + MODE + R"(": {"states": {"3": "batterie"}}})");
    const CatalogueEntry mode = entry(MODE);
    ASSERT_EQ(mode.labels.entries().size(), 1u);
    EXPECT_EQ(mode.labels.entries()[0], (qz::CMultistateMap::Entry{CValue{3u}, "batterie"}));
}

TEST_F(CatalogueFilesTest, AChangedTypeDropsTheStates) {
    add("types.json", "{\"" + MODE + R"(": {"type": "string"}})");
    const CatalogueEntry mode = entry(MODE);
    EXPECT_EQ(mode.type, datatype::string);
    EXPECT_TRUE(mode.labels.empty());
}

TEST_F(CatalogueFilesTest, TheSameTypeKeepsTheStates) {
    add("types.json", "{\"" + MODE + R"(": {"type": "uint32"}})");
    EXPECT_EQ(entry(MODE), *Catalogue::builtin().find(MODE));
}

TEST_F(CatalogueFilesTest, StatesAreKeyedByValuesOfTheType) {
    add("types.json", R"({"A": {"type": "int32", "states": {"-1": "off"}},
                          "B": {"type": "uint64", "states": {"18446744073709551615": "all"}},
                          "C": {"type": "string", "states": {"up": "running"}},
                          "D": {"states": {"-9": "low"}, "type": "int64"}})");
    EXPECT_EQ(entry("A").labels.entries().at(0).first, CValue{std::int32_t{-1}});
    EXPECT_EQ(entry("B").labels.entries().at(0).first, CValue{~std::uint64_t{0}});
    EXPECT_EQ(entry("C").labels.entries().at(0).first, CValue{"up"});
    EXPECT_EQ(entry("D").labels.entries().at(0).first, CValue{std::int64_t{-9}});
}

TEST_F(CatalogueFilesTest, FilesAreMergedInByteOrderOfTheirNames) {
    add("a.json", "{\"" + VOLTAGE + R"(": {"unit": "a", "description": "from a"}})");
    add("Z.json", "{\"" + VOLTAGE + R"(": {"unit": "Z"}})");
    add("10.json", "{\"" + VOLTAGE + R"(": {"unit": "10"}})");
    add("b.json", "{\"" + VOLTAGE + R"(": {"unit": "b"}})");
    const CatalogueEntry voltage = entry(VOLTAGE);
    EXPECT_EQ(voltage.unit, "b");
    EXPECT_EQ(voltage.description, "from a");
    std::filesystem::remove(path("b.json"));
    EXPECT_EQ(entry(VOLTAGE).unit, "a");
    std::filesystem::remove(path("a.json"));
    EXPECT_EQ(entry(VOLTAGE).unit, "Z");
}

TEST_F(CatalogueFilesTest, OtherFilesAreNotRead) {
    for (const char* name : {"readme.txt", "old.json.bak", ".hidden.json", "json"}) {
        add(name, "no JSON");
    }
    EXPECT_TRUE(load().entries() == Catalogue::builtin().entries());
    EXPECT_EQ(said, "");
}

TEST_F(CatalogueFilesTest, ABadFileIsSkippedAndTheOthersHold) {
    add("10-good.json", R"({"Plant.A": {"type": "int32"}})");
    add("20-bad.json", R"({"Plant.B": {"type": "int32"}, "Plant.C": {"type": "number"}})");
    add("30-good.json", R"({"Plant.D": {"type": "int32"}})");
    const Catalogue catalogue = load();
    EXPECT_NE(catalogue.find("Plant.A"), nullptr);
    EXPECT_EQ(catalogue.find("Plant.B"), nullptr);
    EXPECT_EQ(catalogue.find("Plant.C"), nullptr);
    EXPECT_NE(catalogue.find("Plant.D"), nullptr);
    EXPECT_EQ(said.rfind(path("20-bad.json").string() + ":1:", 0), 0u) << said;
}

TEST_F(CatalogueFilesTest, MalformedTextIsReportedWithItsPlace) {
    add("bad.json", "{\n  \"Plant.A\": {\"type\" \"int32\"}\n}\n");
    EXPECT_TRUE(load().entries() == Catalogue::builtin().entries());
    EXPECT_EQ(said.rfind(path("bad.json").string() + ":2:", 0), 0u) << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
}

TEST_F(CatalogueFilesTest, AnEmptyFileIsReported) {
    add("bad.json", "");
    load();
    EXPECT_EQ(said.rfind(path("bad.json").string() + ":1:1: ", 0), 0u) << said;
}

TEST_F(CatalogueFilesTest, AnUnknownTypeIsRefused) {
    expectRefused("{\n \"Plant.A\": {\"type\": \"double\"}}", "2:22",
                  "\"double\" is no type; boolean, int32, int64, uint32, uint64, float32, float64, "
                  "timestamp, string or binary is expected");
}

TEST_F(CatalogueFilesTest, ANewNameNeedsAType) {
    expectRefused(R"({"Plant.A": {"unit": "V"}})", "1:13", "the new entry \"Plant.A\" needs a \"type\"");
}

TEST_F(CatalogueFilesTest, AnUnknownMemberIsRefused) {
    expectRefused("{\"" + VOLTAGE + R"(": {"units": "V"}})", "1:49",
                  "\"units\" is unknown; type, unit, description or states is expected");
}

TEST_F(CatalogueFilesTest, MembersOfAnotherKindAreRefused) {
    expectRefused("[]", "1:1", "a catalogue must be an object");
    expectRefused(R"({"Plant.A": 1})", "1:13", "the entry \"Plant.A\" must be an object");
    expectRefused(R"({"Plant.A": {"type": 5}})", "1:22", "\"type\" must be a string");
    expectRefused(R"({"Plant.A": {"type": "int32", "unit": 5}})", "1:39", "\"unit\" must be a string");
    expectRefused(R"({"Plant.A": {"type": "int32", "states": []}})", "1:41", "\"states\" must be an object");
}

TEST_F(CatalogueFilesTest, ADescriptionOfTwoLinesIsRefused) {
    expectRefused(R"({"Plant.A": {"type": "int32", "description": "a\nb"}})", "1:46",
                  "\"description\" must be one line");
}

TEST_F(CatalogueFilesTest, AStateThatIsNoValueOfTheTypeIsRefused) {
    expectRefused(R"({"Plant.A": {"type": "uint32", "states": {"-1": "off"}}})", "1:49",
                  "\"-1\" is no state of type uint32");
    expectRefused(R"({"Plant.A": {"type": "int32", "states": {"1 ": "off"}}})", "1:48",
                  "\"1 \" is no state of type int32");
    expectRefused(R"({"Plant.A": {"type": "boolean", "states": {"1": "on"}}})", "1:49",
                  "\"1\" is no state of type boolean");
    expectRefused(R"({"Plant.A": {"type": "float32", "states": {"1": "on"}}})", "1:49",
                  "\"1\" is no state of type float32");
}

TEST_F(CatalogueFilesTest, WhatIsThereTwiceIsRefused) {
    expectRefused(R"({"A": {"type": "int32"}, "A": {"type": "int32"}})", "1:31",
                  "the entry \"A\" is there twice");
    expectRefused(R"({"A": {"type": "int32", "type": "int32"}})", "1:33", "\"type\" is there twice");
    expectRefused(R"({"A": {"type": "int32", "states": {"1": "a", "1": "b"}}})", "1:51",
                  "the state \"1\" is there twice");
}

TEST_F(CatalogueFilesTest, AFileThatCannotBeReadIsReported) {
    std::filesystem::create_directories(path("folder.json"));
    EXPECT_TRUE(load().entries() == Catalogue::builtin().entries());
    EXPECT_EQ(said, path("folder.json").string() + ": Is a directory\n");
}

TEST_F(CatalogueFilesTest, ALinkIntoNowhereIsReported) {
    std::filesystem::create_directories(folder / "catalogue.d");
    std::filesystem::create_symlink("nowhere", path("link.json"));
    load();
    EXPECT_EQ(said, path("link.json").string() + ": No such file or directory\n");
}

} // namespace
