#include "cli/Failure.h"
#include "cli/TreeCommand.h"
#include "tests/cli/SampleDevices.h"
#include "tests/cli/TestSession.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;
using Json = nlohmann::ordered_json;

/// What `tree` shows. The picture is built by hand where times matter, and from a real store elsewhere.
class TreeScreenTest : public ::testing::Test {
protected:
    TreeScreenTest() : device{::testing::UnitTest::GetInstance()->current_test_info()->name()} {}

    std::string screen(const TreeOptions& options) {
        test::TestSession test{*device.store};
        test.session.nowMs = [] { return std::int64_t{0}; }; // every clock is ahead of it
        EXPECT_EQ(runTree(test.session, options), ExitCode::Done);
        return withoutTimes(test.takeOut());
    }

    static std::string pictureOf(const SnapshotBuilder& builder, const TreeOptions& options) {
        test::SnapshotStore store{builder};
        test::TestSession test{store};
        EXPECT_EQ(runTree(test.session, options), ExitCode::Done);
        return test.takeOut();
    }

    /// A real store writes the time of the test; each line ends before it.
    static std::string withoutTimes(const std::string& text) {
        std::istringstream lines{text};
        std::string kept;
        for (std::string line; std::getline(lines, line);) {
            line = line.substr(0, line.find("  20", line.find_last_of(".")));
            const auto age = line.find(" d in the future");
            line = line.substr(0, age == std::string::npos ? age : line.find_last_of(' ', age - 1));
            kept += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
        }
        return kept;
    }

    test::MemoryDevice device;
};

TEST_F(TreeScreenTest, ValuesStandBelowEachOtherWithUnitsAndAges) {
    SnapshotBuilder builder;
    builder.device(1000, 20, "Inputs");
    builder.device(1001, 1000, "Inputs.1");
    builder.device(1002, 20, "BackupSystem");
    builder.device(1003, 20, "PowerConverters");
    builder.channel(1001, "Measure.Voltage", qz::CValue{230.1F}, "V");
    builder.channel(1001, "Status.InRange", qz::CValue{true});
    builder.channel(1002, "Setting.LowRuntimeThreshold", qz::CValue{}, "s");
    EXPECT_EQ(pictureOf(builder, {}), R"(Store
  PowerEquipment
    PowerDistribution
      CommunicationStatus.State      connected  2023-11-14 21:13:20 (60 min ago)
      Inputs  (sources)
        Inputs.1  (Feed 1)
          Measure.Voltage            230.1 V    2023-11-14 22:10:20 (3 min ago)
          Status.InRange             yes        2023-11-14 22:10:20 (3 min ago)
      PowerConverters  (converter chain)
      BackupSystem  (battery)
        Setting.LowRuntimeThreshold  -          never
)");
}

TEST_F(TreeScreenTest, PartsStandInTheOrderOfThePower) {
    fillThreePhaseUps(device);
    TreeOptions options;
    options.path = ".";
    options.depth = 1;
    EXPECT_EQ(screen(options), R"(PowerDistribution
  Attribute.FriendlyName     UPS of hall 1
  Attribute.Location         Hall 1, row A
  Attribute.Model            MOD-40-4
  Attribute.ProductName      Modular 40
  Attribute.SerialNumber     M-1
  Attribute.Vendor           Example Power
  CommunicationStatus.Since
  CommunicationStatus.State  connected
  Status.HealthState         good
  Status.Mode                on line
  Inputs  (sources)
    2 parts below it
  PowerConverters  (converter chain)
    5 parts below it
  PowerModules  (power modules)
    Attribute.Count          4
    Setting.RedundancyLevel  1
    Status.RedundancyLoss    no
    Status.Redundant         yes
  BackupSystem  (battery)
    1 part below it
  Outputs  (outputs)
    1 part below it
  Outlets  (outlets)
    2 parts below it
)");
}

TEST_F(TreeScreenTest, ManyOutletsAreATableOfALineEach) {
    fillPdu(device);
    TreeOptions options;
    options.path = "Outlets";
    const std::string text = screen(options);
    EXPECT_EQ(text.substr(0, text.find("  Outlets.9 ")), R"(Outlets  (outlets)
  PART        NAME       ON   VOLTAGE  CURRENT  POWER  HEALTH  CHANGED
  Outlets.1   Server 1   yes  230 V    0.52 A   120 W  good
  Outlets.2   Server 2   yes  230 V    0.52 A   120 W  good
  Outlets.3   Server 3   yes  230 V    0.52 A   120 W  good
  Outlets.4   Server 4   yes  230 V    0.52 A   120 W  good
  Outlets.5   Server 5   yes  230 V    0.52 A   120 W  good
  Outlets.6   Server 6   yes  230 V    0.52 A   120 W  good
  Outlets.7   Server 7   no   230 V    0 A      0 W    good
  Outlets.8   Server 8   yes  230 V    0.52 A   120 W  good
)");
    EXPECT_NE(text.find("all of one: tess tree Outlets.1; of all: tess tree --full\n"), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 45);
}

TEST_F(TreeScreenTest, OneOfManyIsShownWholeAndAllOfThemOnDemand) {
    fillPdu(device);
    TreeOptions options;
    options.path = "Outlets.7";
    EXPECT_EQ(screen(options), R"(Outlets.7
  Attribute.FriendlyName  Server 7
  Measure.ActivePower     0 W
  Measure.Current         0 A
  Measure.Voltage         230 V
  Status.HealthState      good
  Status.SwitchedOn       no
)");
    options.path = "Outlets";
    options.full = true;
    EXPECT_NE(screen(options).find("  Outlets.42\n    Attribute.FriendlyName"), std::string::npos);
}

TEST_F(TreeScreenTest, ATableMarksTheItemsOfALostDevice) {
    fillPdu(device);
    device.connect(3);
    TreeOptions options;
    options.path = "Outlets";
    test::TestSession test{*device.store};
    runTree(test.session, options);
    const std::string text = test.takeOut();
    std::size_t marked = 0;
    for (std::size_t at = text.find("last known"); at != std::string::npos;
         at = text.find("last known", at + 1)) {
        ++marked;
    }
    EXPECT_EQ(marked, 42U);
}

TEST_F(TreeScreenTest, AWrongPartNamesTheNearest) {
    fillPdu(device);
    test::TestSession test{*device.store};
    TreeOptions options;
    options.path = "Outlet.7";
    try {
        runTree(test.session, options);
        FAIL() << "it should have failed";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::NoSuchPath);
        EXPECT_NE(std::string{failure.what()}.find("did you mean \"Outlets.7\""), std::string::npos)
            << failure.what();
    }
}

TEST_F(TreeScreenTest, ForProgramsTheItemsOfALongCollectionAreWhole) {
    fillPdu(device);
    test::TestSession test{*device.store};
    test.session.json = true;
    TreeOptions options;
    options.path = "Outlets";
    runTree(test.session, options);
    const Json outlets = Json::parse(test.takeOut());
    EXPECT_EQ(outlets["device"], "Outlets");
    ASSERT_EQ(outlets["children"].size(), 42U);
    EXPECT_EQ(outlets["children"][6]["points"].size(), 6U);
    options.depth = 0;
    runTree(test.session, options);
    EXPECT_EQ(Json::parse(test.takeOut())["children"].size(), 0U);
}

} // namespace
} // namespace velk::cli
