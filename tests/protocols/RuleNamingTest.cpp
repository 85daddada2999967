#include "powerdistribution/alarms/AlarmProxyWrapperFactory.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/LogReportWrapperFactory.h"
#include "powerdistribution/protocols/PointOrigins.h"
#include "powerdistribution/protocols/ROValueWrapper.h"
#include "powerdistribution/protocols/RuleFunctions.h"
#include "powerdistribution/protocols/RuleTable.h"
#include "powerdistribution/protocols/WriteReportWrapperFactory.h"
#include "testing/FakeWrapperFactory.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <any>
#include <atomic>
#include <fstream>
#include <stdexcept>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakeWrapperFactory;

/// A wrapper that says where its value comes from.
class NamedWrapper : public ROValueWrapper, public ISourceNaming {
public:
    Value read() const override { return Value{1U}; }
    std::string sourceName() const override { return "register 40012"; }
};

ValueWrapperPtr named(const Rule::BuildFuncParameters&) {
    return std::make_unique<NamedWrapper>();
}

ValueWrapperPtr none(const Rule::BuildFuncParameters&) {
    return nullptr;
}

/// A device that tells its rules.
class NamingFactory : public FakeWrapperFactory, public IRuleNaming {
public:
    std::string ruleOf(const EPath& path) const override {
        if (fails) {
            throw 5;
        }
        return "rule of " + path.nodesToString();
    }

    bool fails{false};
};

std::string ruleFor(const std::vector<Rule>& rules, const EPath& path) {
    const FakeWrapperFactory factory;
    const std::any argument;
    Rule::ExecutionParameters walk{path, 0, factory, nullptr, argument};
    const std::string rule = RuleBasedWrapperBuilder{rules}.ruleOf(walk);
    EXPECT_EQ(walk.depth, 0U) << "the walk must give the depth back";
    return rule;
}

const EPath voltage{ECircuit::Inputs, 1U, EMeasurement::Voltage};

TEST(RuleNamingTest, RuleIsNamedByTheNodesOfItsTable) {
    const auto rules = growRules({
        {{ECircuit::Inputs, oneTo(2), EMeasurement::Voltage}, make_static(1U)},
        {{ECircuit::Outlets, anyIndex, EMeasurement::Voltage}, make_static(1U)},
        {{EStatus::Mode}, make_static(1U)},
    });
    EXPECT_EQ(ruleFor(rules, voltage), "Inputs.[1..2].Measure.Voltage");
    EXPECT_EQ(ruleFor(rules, {ECircuit::Outlets, 7U, EMeasurement::Voltage}), "Outlets.*.Measure.Voltage");
    EXPECT_EQ(ruleFor(rules, {EStatus::Mode}), "Status.Mode");
}

TEST(RuleNamingTest, SourceOfTheWrapperIsNamedWithTheRule) {
    const auto rules = growRules({{{ECircuit::Inputs, oneTo(2), EMeasurement::Voltage}, named}});
    EXPECT_EQ(ruleFor(rules, voltage), "Inputs.[1..2].Measure.Voltage from register 40012");
}

TEST(RuleNamingTest, RuleThatGivesNoWrapperIsPassedOver) {
    const auto rules = growRules({
        {{ECircuit::Inputs, 1U, EMeasurement::Voltage}, none},
        {{ECircuit::Outlets, 1U}, named},
        {{ECircuit::Inputs, oneTo(9), EMeasurement::Voltage}, named},
    });
    EXPECT_EQ(ruleFor(rules, voltage), "Inputs.[1..9].Measure.Voltage from register 40012");
}

TEST(RuleNamingTest, PathThatNoRuleServesHasNone) {
    const auto rules = growRules({{{ECircuit::Inputs, oneTo(2), EMeasurement::Voltage}, none}});
    EXPECT_EQ(ruleFor(rules, voltage), "");
    EXPECT_EQ(ruleFor(rules, {}), "");
    EXPECT_EQ(ruleFor(rules, {ECircuit::Inputs}), "");
    EXPECT_EQ(ruleFor({}, voltage), "");
}

TEST(RuleNamingTest, FactoryThatTellsNoRulesOrFailsHasNone) {
    EXPECT_EQ(ruleOf(FakeWrapperFactory{}, voltage), "");
    NamingFactory naming;
    EXPECT_EQ(ruleOf(naming, voltage), "rule of Inputs.1.Measure.Voltage");
    naming.fails = true;
    EXPECT_EQ(ruleOf(naming, voltage), "");
}

TEST(RuleNamingTest, RulesOfTheDeviceAreToldThroughTheFactoriesBeforeIt) {
    const auto device = std::make_shared<NamingFactory>();
    const std::string rule = "rule of Inputs.1.Measure.Voltage";
    EXPECT_EQ(ruleOf(WriteReportWrapperFactory{device, [](const DeviceWrite&) {}}, voltage), rule);
    const auto made = std::make_shared<std::atomic<std::uint64_t>>(0);
    EXPECT_EQ(ruleOf(LogReportWrapperFactory{device, [](const DeviceLogPiece&) {}, made}, voltage), rule);
    velk::testing::TemporaryDirectory folder;
    std::ofstream{folder / "alarms.json"} << "[]";
    EXPECT_EQ(ruleOf(AlarmProxyWrapperFactory{device, (folder / "alarms.json").string()}, voltage), rule);
}

class PointOriginsTest : public ::testing::Test {
protected:
    PointOriginsTest() {
        device->add(voltage, Value{230.0F});
        device->add({ECircuit::Inputs, 1U, EAttribute::PhysicalName}, Value{std::string{"Feed A"}});
        origins.set(std::make_shared<ProxyWrapperFactory>(device), "/lib/plug.so");
    }

    std::string of(const EPath& path) {
        const PointOrigins::Origin origin = origins.of(path);
        return (origin.plugin.empty() ? "library" : origin.plugin) + ": " + origin.rule;
    }

    std::shared_ptr<NamingFactory> device = std::make_shared<NamingFactory>();
    PointOrigins origins;
};

TEST_F(PointOriginsTest, WhatTheDeviceServesIsOfThePluginAndItsRule) {
    EXPECT_EQ(of(voltage), "/lib/plug.so: rule of Inputs.1.Measure.Voltage");
    device->fails = true;
    EXPECT_EQ(of(voltage), "/lib/plug.so: ");
}

TEST_F(PointOriginsTest, WhatTheLibraryDerivesIsItsOwnEvenWhereTheDeviceHasIt) {
    device->add({ECircuit::Inputs, 1U, EStatus::OperatingStatus}, Value{16U});
    EXPECT_EQ(of({ECircuit::Inputs, 1U, EStatus::OperatingStatus}),
              "library: Inputs.[1..2].Status.OperatingStatus");
}

TEST_F(PointOriginsTest, WhatTheLibraryAddsIsItsOwnWhereTheDeviceHasNothing) {
    EXPECT_EQ(of({ECommunicationStatus::State}), "library: CommunicationStatus.State");
    device->add({ECommunicationStatus::State}, Value{2U});
    EXPECT_EQ(of({ECommunicationStatus::State}), "/lib/plug.so: rule of CommunicationStatus.State");
    EXPECT_EQ(of({ECircuit::Inputs, 1U, EAttribute::FriendlyName}),
              "library: Attribute.FriendlyName from Attribute.PhysicalName");
}

TEST_F(PointOriginsTest, WhatNobodyServesHasNoOrigin) {
    EXPECT_EQ(of({ECircuit::Inputs, 2U, EMeasurement::Voltage}), "library: ");
    device->throwOnBuild(voltage, "broken");
    EXPECT_EQ(of(voltage), "library: ");
    PointOrigins nobody;
    EXPECT_EQ(nobody.of(voltage).rule, "");
}

} // namespace
