#include "powerdistribution/core/EPath.h"
#include "powerdistribution/core/Paths.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace velk::powerdistribution {
namespace {

using velk::common::TAny;
using velk::common::TRange;
using Range = TRange<unsigned int>;

std::string printed(const EPath& path) {
    std::ostringstream stream;
    stream << path;
    return stream.str();
}

EPath input(EPath::Node element) {
    return {ECircuit::Inputs, element};
}

TEST(PathTest, EmptyPathPrintsAsNull) {
    EXPECT_EQ(printed(EPath{}), "path=Null");
    EXPECT_EQ(EPath{}.nodesToString(), "Null");
    EXPECT_EQ(EPath::Null, EPath{});
}

TEST(PathTest, NodesPrintAsTheirTextsJoinedByDots) {
    EXPECT_EQ(printed({anyIndex}), "path=x");
    EXPECT_EQ(printed({oneTo(3)}), "path=[1,3]");
    EXPECT_EQ(printed({4294967295U}), "path=4294967295");
    EXPECT_EQ(printed({ECircuit::PowerEquipment, ECircuit::Inputs, 1U, EMeasurement::Voltage}),
              "path=PowerEquipment.Inputs.1.Measure.Voltage");
    EXPECT_EQ(printed({static_cast<ESetting>(36)}), "path=UNKNOWN");
}

TEST(PathTest, NumberSortsBeforeRangeBeforeAnyBeforeNames) {
    EXPECT_LT(input(4294967295U), input(Range{0, 0}));
    EXPECT_LT(input(Range{0, 4000000000U}), input(anyIndex));
    EXPECT_LT(input(anyIndex), input(EProperty::Identification));
    EXPECT_LT(EPath{EProperty::Settings}, EPath{ECommunicationStatus::State});
    EXPECT_LT(EPath{ECommunicationStatus::Since}, EPath{ECircuit::PowerEquipment});
    EXPECT_LT(EPath{ECircuit::Synchroniser}, EPath{EPowerConverter::Rectifier});
    EXPECT_LT(EPath{EPowerConverter::DcBus}, EPath{EMeasurement::ActivePower});
    EXPECT_LT(EPath{EMeasurement::Phase}, EPath{ESpecification::ActivePowerNominal});
    EXPECT_LT(EPath{ESpecification::TrippedVoltageThreshold}, EPath{ESetting::AudibleAlarmControl});
    EXPECT_LT(EPath{ESetting::WiringFaultEnabled}, EPath{EStatus::BmsFailure});
    EXPECT_LT(EPath{EStatus::HealthState}, EPath{EAttribute::Count});
    EXPECT_LT(EPath{EAttribute::Vendor}, EPath{EAction::AbortTest});
    EXPECT_LT(EPath{EAction::SwitchOn}, EPath{EPrivate::AlarmConfigurationFile});
    EXPECT_LT(EPath{EPrivate::LogTopId}, EPath{EPrivateAction::ExportKdp});
}

TEST(PathTest, MembersOfOneKindSortByNumber) {
    EXPECT_LT(input(2U), input(10U));
    EXPECT_LT(EPath{EAttribute::Model}, EPath{EAttribute::MacAddress});
}

TEST(PathTest, PrefixSortsFirst) {
    EXPECT_LT(EPath{}, EPath{ECircuit::Inputs});
    EXPECT_LT(EPath{ECircuit::Inputs}, input(1U));
    EXPECT_FALSE(input(1U) < EPath{ECircuit::Inputs});
}

TEST(PathTest, RangesSortByWidthAlone) {
    EXPECT_FALSE(input(Range{1, 3}) < input(Range{5, 7}));
    EXPECT_FALSE(input(Range{5, 7}) < input(Range{1, 3}));
    EXPECT_LT(input(Range{100, 101}), input(Range{1, 3}));
    EXPECT_LT(input(Range{0, 4294967294U}), input(Range{4, 3})) << "the width is unsigned";
    std::map<EPath, int> byPath;
    byPath[input(Range{1, 3})] = 1;
    byPath[input(Range{5, 7})] = 2;
    EXPECT_EQ(byPath.size(), 1U);
}

TEST(PathTest, RangesOfEqualWidthAreEquivalentInOrderAndUnequal) {
    EXPECT_FALSE(input(Range{1, 3}) == input(Range{5, 7}));
    EXPECT_TRUE(input(Range{1, 3}) == input(Range{1, 3}));
}

TEST(PathTest, OverlappingRangesAreUnequal) {
    EXPECT_FALSE(input(Range{1, 3}) == input(Range{2, 5}));
}

TEST(PathTest, AnyIsNeverLessThanAny) {
    EXPECT_FALSE(input(anyIndex) < input(anyIndex));
}

TEST(PathTest, AnyMatchesEveryNode) {
    EXPECT_EQ(input(2U), input(anyIndex));
    EXPECT_EQ(input(anyIndex), input(Range{1, 3}));
    EXPECT_EQ(input(anyIndex), input(EStatus::Used));
    EXPECT_EQ(input(EPowerConverter::Avr), input(anyIndex));
}

TEST(PathTest, NumberAndAnyAreEqualAndStillDifferentKeys) {
    EXPECT_EQ(input(2U), input(anyIndex));
    EXPECT_LT(input(2U), input(anyIndex));
    const std::map<EPath, int> byPath{{input(2U), 1}, {input(Range{1, 3}), 2}, {input(anyIndex), 3}};
    EXPECT_EQ(byPath.size(), 3U);
}

TEST(PathTest, RangeMatchesTheNumbersBetweenItsEnds) {
    EXPECT_EQ(input(Range{1, 3}), input(1U));
    EXPECT_EQ(input(3U), input(Range{1, 3}));
    EXPECT_FALSE(input(Range{1, 3}) == input(0U));
    EXPECT_FALSE(input(4U) == input(Range{1, 3}));
    EXPECT_LT(input(2U), input(Range{1, 3}));
}

TEST(PathTest, PathsOfDifferentLengthAreNeverEqual) {
    EXPECT_FALSE(input(anyIndex) == EPath{ECircuit::Inputs});
    EXPECT_FALSE(EPath{} == EPath{anyIndex});
}

TEST(PathTest, NumberNeverEqualsAName) {
    EXPECT_FALSE(EPath{3U} == EPath{ECircuit::Inputs});
    EXPECT_FALSE(EPath{ECircuit::Inputs} == EPath{EPowerConverter::AutomaticBypass});
}

TEST(PathTest, NodesCompareStrictly) {
    EXPECT_FALSE(EPath::Node{2U} == EPath::Node{TAny{}});
    EXPECT_TRUE(EPath::Node{TAny{}} == EPath::Node{TAny{}});
    EXPECT_FALSE((EPath::Node{Range{1, 3}} == EPath::Node{Range{5, 7}}));
}

TEST(PathTest, LastNodeOfAnEmptyPathIsOutOfRange) {
    EXPECT_EQ(input(7U).lastNode(), EPath::Node{7U});
    try {
        EPath{}.lastNode();
        FAIL() << "no exception";
    } catch (const std::out_of_range& failure) {
        EXPECT_STREQ(failure.what(), "Cannot get last node of an empty path");
    }
}

TEST(PathTest, NodeOfAnotherKindIsAnUnexpectedIndex) {
    try {
        static_cast<void>(EPath::Node{7U}.get<ECircuit>());
        FAIL() << "no exception";
    } catch (const std::bad_variant_access& failure) {
        EXPECT_STREQ(failure.what(), "Unexpected index");
    }
}

TEST(PathTest, PathsAreJoinedAndCut) {
    const EPath voltage = input(1U) + EMeasurement::Voltage;
    EXPECT_EQ(voltage.nodesToString(), "Inputs.1.Measure.Voltage");
    EXPECT_EQ((EPath{} + voltage).nodesToString(), "Inputs.1.Measure.Voltage");
    EXPECT_EQ((voltage.parent() + EPath{ECircuit::Phases, 3U}).nodesToString(), "Inputs.1.Phases.3");
    EXPECT_TRUE(EPath{}.parent().empty());
}

} // namespace
} // namespace velk::powerdistribution
