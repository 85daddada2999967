// What the four devices serve, held against the vocabulary and the store's catalogue.

#include "platform/tessapi/catalogue/Catalogue.h"
#include "tests/plugins/simulator/SimulatorHost.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace velk::simulator {
namespace {

using namespace powerdistribution;
using velk::testing::membersOf;
using velk::testing::SimulatorHost;

const std::vector<std::string>& devices() {
    static const std::vector<std::string> names{"ups-1ph", "ups-3ph", "ats", "pdu-42"};
    return names;
}

/// Every node below which data points may stand, with the numbers that the device has.
std::vector<EPath> nodesOf(const std::set<std::string>& points) {
    std::set<EPath> nodes{{}, {EProperty::Identification}, {EPrivate::InternalLogs}};
    for (const std::string& point : points) {
        EPath path = testing::pathOfText(point);
        for (path = path.parent(); !path.empty(); path = path.parent()) {
            nodes.insert(path);
        }
    }
    return {nodes.begin(), nodes.end()};
}

template <typename E>
void addServed(const SimulatorHost& host, const EPath& node, std::set<std::string>& served) {
    for (const E member : membersOf<E>()) {
        if (host.factory->buildWrapper(node + member)) {
            served.insert((node + member).nodesToString());
        }
    }
}

/// The data points that the device has itself, and those that the plug-in serves.
struct Served {
    std::set<std::string> own;
    std::set<std::string> all;
};

Served askServed(const std::string& device) {
    SimulatorHost host{R"("device":")" + device + "\""};
    if (!host.find()) {
        throw std::runtime_error{device + " was not found"};
    }
    Served served;
    const common::lwjson::Deserializer answer{host.ask(R"({"do":"points"})")};
    for (const auto& point : answer.findMember("points")->members()) {
        served.own.insert(point.name());
    }
    for (const EPath& node : nodesOf(served.own)) {
        addServed<ECommunicationStatus>(host, node, served.all);
        addServed<EMeasurement>(host, node, served.all);
        addServed<ESpecification>(host, node, served.all);
        addServed<ESetting>(host, node, served.all);
        addServed<EStatus>(host, node, served.all);
        addServed<EAttribute>(host, node, served.all);
        addServed<EAction>(host, node, served.all);
        addServed<EPrivate>(host, node, served.all);
        addServed<EPrivateAction>(host, node, served.all);
    }
    return served;
}

/// Asked once for all tests: there are thousands of paths to try.
const Served& servedBy(const std::string& device) {
    static std::map<std::string, Served> known;
    const auto entry = known.find(device);
    return entry != known.end() ? entry->second : known.emplace(device, askServed(device)).first->second;
}

std::string typeOf(const Value& value) {
    static const std::map<std::string, std::string> names{
        {"bool", "boolean"},  {"int32_t", "int32"},      {"uint32_t", "uint32"},
        {"float", "float32"}, {"UnixTime", "timestamp"}, {"std::string", "string"}};
    const auto name = names.find(typeName(value));
    return name == names.end() ? typeName(value) : name->second;
}

/// How much of a family is served by any of the devices; the nodes of the tree count where they are in a
/// path.
template <typename E>
void count(const std::string& family, const std::set<std::string>& texts, std::size_t& found,
           std::size_t& all, std::size_t& families) {
    std::size_t served = 0;
    std::string missing;
    const auto members = membersOf<E>();
    for (const E member : members) {
        const bool isServed = texts.count(to_string(member)) != 0;
        served += isServed ? 1 : 0;
        missing += isServed ? "" : " " + to_string(member);
    }
    std::cout << std::left << std::setw(22) << family << std::right << std::setw(4) << served << " of "
              << std::setw(3) << members.size() << (missing.empty() ? "" : "   without" + missing) << "\n";
    found += served;
    all += members.size();
    families += served > 0 ? 1 : 0;
}

TEST(ServedPointsTest, FourDevicesTogetherServeEveryFamilyAndNineTenthsOfItsMembers) {
    std::set<std::string> texts;
    for (const std::string& device : devices()) {
        for (const std::string& point : servedBy(device).all) {
            const EPath path = testing::pathOfText(point);
            for (const EPath::Node& node : path.nodes()) {
                texts.insert(node.tostring());
            }
        }
    }
    std::size_t found = 0;
    std::size_t all = 0;
    std::size_t families = 0;
    count<EProperty>("EProperty", texts, found, all, families);
    count<ECommunicationStatus>("ECommunicationStatus", texts, found, all, families);
    count<ECircuit>("ECircuit", texts, found, all, families);
    count<EPowerConverter>("EPowerConverter", texts, found, all, families);
    count<EMeasurement>("EMeasurement", texts, found, all, families);
    count<ESpecification>("ESpecification", texts, found, all, families);
    count<ESetting>("ESetting", texts, found, all, families);
    count<EStatus>("EStatus", texts, found, all, families);
    count<EAttribute>("EAttribute", texts, found, all, families);
    count<EAction>("EAction", texts, found, all, families);
    count<EPrivate>("EPrivate", texts, found, all, families);
    count<EPrivateAction>("EPrivateAction", texts, found, all, families);
    std::cout << "together " << found << " of " << all << ", " << 100 * found / all << " %\n";
    EXPECT_EQ(families, 12U);
    EXPECT_GE(found * 10, all * 9);
}

class DeviceTest : public ::testing::TestWithParam<std::string> {
protected:
    DeviceTest() : host{R"("device":")" + GetParam() + "\""} {}
    void SetUp() override { ASSERT_TRUE(host.find()); }

    SimulatorHost host;
};

TEST_P(DeviceTest, EverythingThatTheDeviceHasIsServed) {
    const Served& served = servedBy(GetParam());
    ASSERT_GT(served.own.size(), 50U);
    for (const std::string& point : served.own) {
        EXPECT_EQ(served.all.count(point), 1U) << point;
    }
}

TEST_P(DeviceTest, WhatTheLibraryComputesIsServedOnlyWhereItDoesNot) {
    for (const std::string& point : servedBy(GetParam()).all) {
        const std::string member = testing::pathOfText(point).lastNode().tostring();
        EXPECT_NE(member, to_string(EStatus::HealthState)) << point;
        EXPECT_TRUE(member != to_string(EStatus::OperatingStatus) || point.rfind("Branches.", 0) == 0)
            << point;
    }
}

TEST_P(DeviceTest, EveryValueIsOfTheTypeThatTheStoreTakes) {
    const tessapi::Catalogue& catalogue = tessapi::Catalogue::builtin();
    host.advance(5);
    std::size_t values = 0;
    for (const std::string& point : servedBy(GetParam()).all) {
        const std::string member = testing::pathOfText(point).lastNode().tostring();
        const auto* entry = catalogue.find("PowerDistribution." + member);
        const auto wrapper = host.wrapper(point);
        const Value value = wrapper->isReadable() ? wrapper->read() : Value{};
        if (entry == nullptr || !value.hasValue()) {
            continue;
        }
        ++values;
        EXPECT_EQ(typeOf(value), qz::to_string(entry->type)) << point;
    }
    EXPECT_GT(values, 50U);
}

TEST_P(DeviceTest, FlagsAgreeWithWhatTheWrapperDoes) {
    for (const std::string& point : servedBy(GetParam()).all) {
        const auto wrapper = host.wrapper(point);
        const Value value = wrapper->read();
        EXPECT_TRUE(wrapper->isReadable() || !value.hasValue()) << point;
        if (!wrapper->isWritable()) {
            EXPECT_FALSE(wrapper->write(value)) << point;
        }
    }
}

TEST_P(DeviceTest, PathsThatNoDeviceHasAreNotServedAndNeverThrow) {
    using velk::common::TAny;
    using velk::common::TRange;
    EXPECT_FALSE(host.factory->buildWrapper({}));
    EXPECT_FALSE(host.factory->buildWrapper({ECircuit::Outlets, 129U, EMeasurement::Voltage}));
    EXPECT_FALSE(host.factory->buildWrapper({ECircuit::Outlets, 0U, EMeasurement::Voltage}));
    EXPECT_FALSE(host.factory->buildWrapper({ECircuit::Inputs, TAny{}, EMeasurement::Voltage}));
    EXPECT_FALSE(
        host.factory->buildWrapper({ECircuit::Inputs, TRange<unsigned int>{1, 2}, EMeasurement::Voltage}));
    EXPECT_FALSE(host.factory->buildWrapper({EMeasurement::Voltage, EMeasurement::Voltage}));
    EXPECT_FALSE(host.factory->buildWrapper({1U}));
}

INSTANTIATE_TEST_SUITE_P(Shipped, DeviceTest, ::testing::ValuesIn(devices()), [](const auto& device) {
    std::string name = device.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

} // namespace
} // namespace velk::simulator
