#include "plugins/simulator/model/DeviceFileError.h"
#include "testing/TemporaryDirectory.h"
#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <random>

namespace velk::simulator {

/// A device file whose first line is `{"kind":"pdu","inputs":[{"current":16}]` and whose second is the
/// test's.
class DeviceFileTest : public ::testing::Test {
protected:
    std::string write(const std::string& text) const {
        const std::filesystem::path path = directory.path() / "device.json";
        std::ofstream{path} << text;
        return path.string();
    }

    std::string mistakeOf(const std::string& text) const {
        const std::string path = write(text);
        try {
            Model{readDeviceFile(path)};
        } catch (const DeviceFileError& mistake) {
            const std::string what = mistake.what();
            EXPECT_TRUE(what.starts_with(path + ":")) << what;
            return what.substr(path.size() + 1);
        }
        return "none";
    }

    std::string mistakeIn(const std::string& secondLine) const {
        return mistakeOf("{\"kind\":\"pdu\",\"inputs\":[{\"current\":16}],\n" + secondLine + "}");
    }

    testing::TemporaryDirectory directory;
};

TEST_F(DeviceFileTest, SmallestDeviceHasAKindAndAnInput) {
    EXPECT_EQ(mistakeOf(R"({"kind":"pdu","inputs":[{"current":16}]})"), "none");
}

TEST_F(DeviceFileTest, MissingFileIsNamed) {
    const std::string path = (directory.path() / "none.json").string();
    try {
        readDeviceFile(path);
        FAIL();
    } catch (const DeviceFileError& mistake) {
        EXPECT_EQ(mistake.what(), path + ":1:1: cannot be read; expected a device file");
    }
}

TEST_F(DeviceFileTest, BrokenJsonIsToldWithItsPlace) {
    EXPECT_TRUE(mistakeOf("{\"kind\":\n  pdu}").starts_with("2:3: "));
    EXPECT_TRUE(mistakeOf("").starts_with("1:1: "));
}

TEST_F(DeviceFileTest, DeviceIsAnObject) {
    EXPECT_EQ(mistakeOf("[]"), "1:1: expected an object for the device");
}

TEST_F(DeviceFileTest, KindIsOneOfFour) {
    const std::string expected =
        R"(expected "online-ups", "line-interactive-ups", "ats" or "pdu" for "kind")";
    EXPECT_EQ(mistakeOf(R"({"kind":"ups"})"), "1:9: " + expected);
    EXPECT_EQ(mistakeOf("{}"), "1:1: " + expected);
}

TEST_F(DeviceFileTest, UnknownMembersAreTold) {
    EXPECT_EQ(mistakeIn(R"("outlet":[])"), "2:10: \"outlet\" is not known of the device");
    EXPECT_EQ(mistakeIn(R"("log":{"size":3})"), "2:15: \"size\" is not known of the log");
}

TEST_F(DeviceFileTest, NumbersHaveTheirRanges) {
    EXPECT_EQ(mistakeIn(R"("ambient":"warm")"),
              "2:11: expected a number, -40 to 80, for \"ambient\" of the device");
    EXPECT_EQ(mistakeIn(R"("ambient":99)"),
              "2:11: expected a number, -40 to 80, for \"ambient\" of the device");
    EXPECT_EQ(mistakeIn(R"("log":{"chunk":0})"),
              "2:16: expected a whole number, 1 to 10000, for \"chunk\" of the log");
    EXPECT_EQ(mistakeIn(R"("outlets":[{"watts":[1]}])"),
              "2:12: \"current\" of the outlets is missing: expected a number, 0.1 to 10000");
    EXPECT_EQ(mistakeIn(R"("outlets":[{"current":1,"watts":[-1]}])"),
              "2:34: expected a number, 0 or more, for each of \"watts\"");
}

TEST_F(DeviceFileTest, ListsAreLists) {
    EXPECT_EQ(mistakeIn(R"("outlets":3)"), "2:11: expected a list for \"outlets\" of the device");
    EXPECT_EQ(mistakeIn(R"("outlets":[3])"), "2:12: expected an object for the outlets");
}

TEST_F(DeviceFileTest, TextsAreTexts) {
    EXPECT_EQ(mistakeIn(R"("alarmFile":3)"), "2:13: expected a text for \"alarmFile\" of the device");
}

TEST_F(DeviceFileTest, PhasesAreOneOrThree) {
    EXPECT_EQ(mistakeOf(R"({"kind":"pdu","inputs":[{"phases":2,"current":16}]})"),
              "1:35: expected 1 or 3 for \"phases\"");
    EXPECT_EQ(mistakeIn(R"("outlets":[{"current":1,"phase":3}])"),
              "2:11: expected the phase of an outlet among those that feed it");
    EXPECT_EQ(mistakeIn(R"("branches":[{"current":1,"phase":2}])"),
              "2:12: expected the phase of a branch among those of the inputs");
    EXPECT_EQ(mistakeIn(R"("outputs":[{"current":1,"phases":3}])"),
              "2:11: expected no more phases of an output than of the inputs");
    EXPECT_EQ(mistakeOf(R"({"kind":"pdu","inputs":[{"phases":3,"current":16},{"current":16}]})"),
              "1:24: expected as many phases of every input");
    EXPECT_EQ(
        mistakeOf(R"({"kind":"line-interactive-ups","inputs":[{"phases":3,"current":9}],)"
                  R"("outputs":[{"current":9}],"battery":{"capacityWh":9,"voltage":12,"chargePower":9}})"),
        "1:41: expected one phase for a line-interactive UPS");
    EXPECT_EQ(mistakeIn(R"("converters":["Inverter"])"), "2:14: expected no converters without outputs");
}

TEST_F(DeviceFileTest, StructureFitsTheKind) {
    EXPECT_EQ(mistakeOf(R"({"kind":"pdu"})"), "1:1: expected at least one element of \"inputs\"");
    EXPECT_EQ(mistakeOf(R"({"kind":"ats","inputs":[{"current":1}]})"),
              "1:1: expected at least one element of \"outputs\"");
    EXPECT_EQ(mistakeOf(R"({"kind":"ats","inputs":[{"current":1}],"outputs":[{"current":1}]})"),
              "1:1: expected two elements of \"inputs\" for an ATS");
    EXPECT_EQ(mistakeOf(R"({"kind":"online-ups","inputs":[{"current":1}],"outputs":[{"current":1}]})"),
              "1:1: expected a \"battery\" for a UPS");
    EXPECT_EQ(mistakeIn(R"("battery":{"capacityWh":1,"voltage":12,"chargePower":1})"),
              "2:11: expected no battery but for a UPS");
    EXPECT_EQ(mistakeIn(R"("converters":["Diode"])"),
              "2:15: expected the kind of a converter, such as \"Rectifier\", and not \"Diode\"");
}

TEST_F(DeviceFileTest, PointsAreOfTheVocabularyAndOfTheDevice) {
    EXPECT_EQ(mistakeIn(R"("points":{"Status.Fine":true})"),
              "2:25: expected a path that ends in a data point of the vocabulary, such as "
              "\"Outlets.x.Specification.Switchable\", but there is none \"Status.Fine\"");
    EXPECT_EQ(mistakeIn(R"("points":{"Outlet.1.Specification.Switchable":true})"),
              "2:47: there is no node \"Outlet\" in \"Outlet.1.Specification.Switchable\"");
    EXPECT_EQ(mistakeIn(R"("points":{"Inputs.2.Specification.Feed":"A"})"),
              "2:41: expected an index of 1 to 1 below \"Inputs\" in \"Inputs.2.Specification.Feed\"");
}

TEST_F(DeviceFileTest, PointsHaveTheTypeOfTheirMember) {
    EXPECT_EQ(mistakeIn(R"("points":{"Inputs.x.Specification.Feed":3})"),
              "2:41: expected a value of the type string for \"Specification.Feed\"");
    EXPECT_EQ(mistakeIn(R"("points":{"Setting.PreferredSource":{"value":1.5}})"),
              "2:46: expected a value of the type uint32 for \"Setting.PreferredSource\"");
    EXPECT_EQ(mistakeIn(R"("points":{"Setting.PreferredSource":{"max":2}})"),
              "2:37: \"value\" of the point is missing");
    EXPECT_EQ(mistakeIn(R"("points":{"Setting.PreferredSource":{"value":1,"step":2}})"),
              "2:55: \"step\" is not known of the point");
}

TEST_F(DeviceFileTest, PointsThatTheModelMovesTakeNoValue) {
    EXPECT_EQ(mistakeIn(R"("points":{"Inputs.1.Measure.Voltage":230})"),
              "2:38: \"Inputs.1.Measure.Voltage\" follows from the device's state and takes no value here");
}

TEST_F(DeviceFileTest, AbsentPointsAreChecked) {
    EXPECT_TRUE(mistakeIn(R"("absent":["Measure.Nothing"])")
                    .starts_with("2:11: expected a path that ends in a data point"));
    EXPECT_EQ(mistakeIn(R"("absent":[3])"), "2:11: expected the path of a point, as a text");
}

TEST_F(DeviceFileTest, AbsentPointsAreNotServed) {
    const Model model{
        readDeviceFile(write(R"({"kind":"pdu","inputs":[{"current":16}],"outlets":[{"count":2,"current":1}],
        "absent":["Outlets.x.Measure.Voltage","Outlets.2.Measure.Current"]})"))};
    EXPECT_EQ(model.find("Outlets.1.Measure.Voltage"), nullptr);
    EXPECT_NE(model.find("Outlets.1.Measure.Current"), nullptr);
    EXPECT_EQ(model.find("Outlets.2.Measure.Current"), nullptr);
}

TEST_F(DeviceFileTest, AnXStandsForEveryItemAndALaterEntryWins) {
    const Model model{
        readDeviceFile(write(R"({"kind":"pdu","inputs":[{"current":16}],"outlets":[{"count":3,"current":1}],
        "points":{"Outlets.x.Attribute.PhysicalName":"Some","Outlets.2.Attribute.PhysicalName":"Second"}})"))};
    EXPECT_EQ(model.read("Outlets.1.Attribute.PhysicalName"), Value{std::string{"Some"}});
    EXPECT_EQ(model.read("Outlets.2.Attribute.PhysicalName"), Value{std::string{"Second"}});
    EXPECT_EQ(model.read("Outlets.3.Attribute.PhysicalName"), Value{std::string{"Some"}});
}

TEST_F(DeviceFileTest, DamagedFileIsReadOrToldButNeverWorse) {
    std::ifstream stream{deviceFile("ups-1ph")};
    const std::string whole{std::istreambuf_iterator<char>{stream}, {}};
    ASSERT_GT(whole.size(), 2000U);
    std::mt19937 random{11};
    const std::string bytes{"0919-.,:{}[]\"ex \n"};
    int told = 0;
    for (int round = 0; round < 100; ++round) {
        std::string damaged = round % 3 == 0 ? whole.substr(0, random() % whole.size()) : whole;
        for (int change = 0; change < 3 && !damaged.empty(); ++change) {
            damaged[random() % damaged.size()] = bytes[random() % bytes.size()];
        }
        const std::string path = write(damaged);
        try {
            Model model{readDeviceFile(path)};
            model.step(std::chrono::seconds{1});
        } catch (const DeviceFileError& mistake) {
            EXPECT_TRUE(std::string{mistake.what()}.starts_with(path + ":")) << mistake.what();
            ++told;
        }
    }
    EXPECT_GT(told, 60);
}

TEST_F(DeviceFileTest, AlarmFileLiesBesideTheDeviceFile) {
    const auto description =
        readDeviceFile(write(R"({"kind":"pdu","alarmFile":"a.json","inputs":[{"current":16}]})"));
    EXPECT_EQ(description.alarmFile, (directory.path() / "a.json").string());
}

} // namespace velk::simulator
