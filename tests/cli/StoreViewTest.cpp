#include "cli/StoreView.h"

#include "cli/Failure.h"
#include "cli/JournalEntry.h"
#include "tests/cli/SnapshotBuilder.h"

#include <gtest/gtest.h>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;

SnapshotBuilder twoOutlets() {
    SnapshotBuilder builder;
    builder.device(1000, 20, "Outlets");
    builder.device(1001, 1000, "Outlets.1");
    builder.device(1002, 1000, "Outlets.2");
    builder.channel(1002, "Measure.Voltage", qz::CValue{229.5F}, "V");
    builder.channel(1001, "Status.SwitchedOn", qz::CValue{true});
    builder.channel(1001, "Measure.Voltage", qz::CValue{230.5F}, "V");
    builder.channel(20, "Status.Mode", qz::CValue{2U});
    builder.channel(2, "Status.OperatingStatus", qz::CValue{16U});
    return builder;
}

std::vector<std::string> selected(const StoreView& view, const std::string& wanted) {
    std::vector<std::string> paths;
    for (const Point* point : view.select(wanted)) {
        paths.push_back(point->path);
    }
    return paths;
}

std::string failureOf(const StoreView& view, const std::string& wanted) {
    try {
        view.select(wanted);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::NoSuchPath);
        return failure.what();
    }
    return "found";
}

TEST(StoreViewTest, APathIsTheDeviceAndTheChannelWithoutItsPrefix) {
    const StoreView view{twoOutlets().build()};
    const Point* point = view.find("Outlets.1.Measure.Voltage");
    ASSERT_NE(point, nullptr);
    EXPECT_EQ(point->devicePath, "Outlets.1");
    EXPECT_EQ(point->name, "Measure.Voltage");
    EXPECT_EQ(point->channel->value, qz::CValue{230.5F});
}

TEST(StoreViewTest, ThePathsOfTheDeviceItselfHaveNoDeviceInFront) {
    const StoreView view{twoOutlets().build()};
    ASSERT_NE(view.find("Status.Mode"), nullptr);
    EXPECT_EQ(view.find("Status.Mode")->devicePath, "");
    EXPECT_NE(view.find("PowerEquipment.Status.OperatingStatus"), nullptr);
    EXPECT_EQ(view.find("PowerDistribution.Status.Mode"), nullptr);
}

TEST(StoreViewTest, TheTextsOfADeviceArePointsToo) {
    SnapshotBuilder builder = twoOutlets();
    builder.attribute(20, tessapi::DeviceAttribute::model, "M 1500");
    builder.attribute(20, tessapi::DeviceAttribute::productName, "Power Max");
    builder.attribute(20, tessapi::DeviceAttribute::firmwareVersion, "1.2");
    builder.attribute(1001, tessapi::DeviceAttribute::friendlyName, "Router");
    const StoreView view{builder.build()};
    ASSERT_NE(view.find("Attribute.Model"), nullptr);
    EXPECT_EQ(view.find("Attribute.Model")->text, "M 1500");
    EXPECT_EQ(view.find("Attribute.ProductName")->text, "Power Max");
    EXPECT_EQ(view.find("Attribute.FirmwareVersion")->text, "1.2");
    EXPECT_EQ(view.find("Outlets.1.Attribute.FriendlyName")->text, "Router");
    EXPECT_EQ(view.find("Attribute.SerialNumber"), nullptr);
}

TEST(StoreViewTest, BranchesStandDepthFirstWithTheirPointsByName) {
    const StoreView view{twoOutlets().build()};
    std::string picture;
    for (const StoreView::Branch& branch : view.branches()) {
        picture +=
            std::string(branch.depth, ' ') + branch.title + ":" + std::to_string(branch.pointCount) + "\n";
    }
    EXPECT_EQ(picture, "Store:0\n PowerEquipment:1\n  PowerDistribution:2\n   Outlets:0\n    Outlets.1:2\n"
                       "    Outlets.2:1\n");
    EXPECT_EQ(selected(view, "Outlets.1"),
              (std::vector<std::string>{"Outlets.1.Measure.Voltage", "Outlets.1.Status.SwitchedOn"}));
}

TEST(StoreViewTest, AGlobChoosesEveryPointThatItMatches) {
    const StoreView view{twoOutlets().build()};
    EXPECT_EQ(selected(view, "Outlets.*.Measure.Voltage"),
              (std::vector<std::string>{"Outlets.1.Measure.Voltage", "Outlets.2.Measure.Voltage"}));
}

TEST(StoreViewTest, AnExactPathIsThatPointAloneEvenWhenOthersBeginWithIt) {
    SnapshotBuilder builder;
    builder.channel(20, "Setting.Temperature", qz::CValue{20.0F});
    builder.channel(20, "Setting.Temperature.HighCriticalThreshold", qz::CValue{40.0F});
    const StoreView view{builder.build()};
    EXPECT_EQ(selected(view, "Setting.Temperature"), std::vector<std::string>{"Setting.Temperature"});
}

TEST(StoreViewTest, WhereOneIsWantedAGlobOrAPartTellsHowManyItIs) {
    const StoreView view{twoOutlets().build()};
    const auto refusal = [&view](const char* path) -> std::string {
        try {
            return "took " + view.require(path).path;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.exitCode(), ExitCode::NoSuchPath);
            return failure.what();
        }
    };
    EXPECT_EQ(refusal("Outlets.*.Measure.Voltage"),
              "this takes one path; 2 match \"Outlets.*.Measure.Voltage\": Outlets.1.Measure.Voltage, "
              "Outlets.2.Measure.Voltage");
    EXPECT_EQ(refusal("Outlets.1"), "this takes one path; 2 are below \"Outlets.1\": "
                                    "Outlets.1.Measure.Voltage, Outlets.1.Status.SwitchedOn");
    EXPECT_EQ(refusal("Outlets.2"),
              "this takes one path; 1 is below \"Outlets.2\": Outlets.2.Measure.Voltage");
    EXPECT_EQ(refusal("*.2.**"), "this takes one path; 1 matches \"*.2.**\": Outlets.2.Measure.Voltage");
    EXPECT_EQ(refusal("Inlets.*"), "nothing in the store matches \"Inlets.*\"");
    EXPECT_EQ(refusal("Outlets.1.Measure.Voltage"), "took Outlets.1.Measure.Voltage");
}

TEST(StoreViewTest, AWrongPathNamesTheNearestRightOne) {
    const StoreView view{twoOutlets().build()};
    EXPECT_EQ(failureOf(view, "Outlets.1.Measure.Voltge"),
              "no such path: \"Outlets.1.Measure.Voltge\"; did you mean \"Outlets.1.Measure.Voltage\"?");
    EXPECT_EQ(failureOf(view, "outlets.1.measure.voltage"),
              "no such path: \"outlets.1.measure.voltage\"; did you mean \"Outlets.1.Measure.Voltage\"?");
    EXPECT_EQ(failureOf(view, "weather"), "no such path: \"weather\"");
    EXPECT_EQ(failureOf(view, "Inlets.*"), "nothing in the store matches \"Inlets.*\"");
}

TEST(StoreViewTest, TheDaemonsNotesAreShownOnlyToThoseWhoNameThem) {
    SnapshotBuilder builder = twoOutlets();
    builder.device(1500, 1, "Daemon").uuid = JournalEntry::deviceUuid();
    builder.channel(1500, "x", qz::CValue{"[]"}).name = "Daemon.Writes";
    const StoreView view{builder.build()};
    for (const std::string& path : selected(view, "**")) {
        EXPECT_FALSE(path.starts_with("Daemon")) << path;
    }
    EXPECT_EQ(selected(view, "Daemon.*"), std::vector<std::string>{"Daemon.Writes"});
    EXPECT_NE(view.find("Daemon.Writes"), nullptr);
}

TEST(StoreViewTest, ADotAndPowerDistributionAreTheDeviceItself) {
    const StoreView view{twoOutlets().build()};
    EXPECT_EQ(view.requireBranch(".").device->id, 20U);
    EXPECT_EQ(view.requireBranch("PowerDistribution").device->id, 20U);
    EXPECT_EQ(view.requireBranch("Outlets.2").device->id, 1002U);
    EXPECT_THROW(view.requireBranch("Outlets.3"), Failure);
}

TEST(StoreViewTest, ADeviceThatHasNoPlaceYetIsCalledByItsNumber) {
    SnapshotBuilder builder;
    builder.device(1003, 20, "");
    builder.channel(1003, "Status.Mode", qz::CValue{1U});
    const StoreView view{builder.build()};
    EXPECT_NE(view.find("#1003.Status.Mode"), nullptr);
}

} // namespace
} // namespace velk::cli
