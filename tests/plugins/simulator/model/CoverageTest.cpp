#include "plugins/simulator/model/MemberTypes.h"
#include "powerdistribution/alarms/AlarmConfigurationParser.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/AlarmFileCheck.h"
#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

namespace velk::simulator {

namespace {

nlohmann::json read(const std::filesystem::path& path) {
    std::ifstream stream{path};
    return nlohmann::json::parse(stream);
}

/// Type by member, as the store's catalogue has it.
std::map<std::string, std::string> catalogue() {
    std::map<std::string, std::string> types;
    const std::string prefix = "PowerDistribution.";
    const auto file =
        read(std::filesystem::path{VELK_SOURCE_DIR} / "platform/tessapi/catalogue/catalogue.json");
    for (const auto& [name, entry] : file.items()) {
        if (name.starts_with(prefix)) {
            types[name.substr(prefix.size())] = entry.at("type");
        }
    }
    return types;
}

/// Members, circuits and converters that a device serves, by text.
void collect(const Model& model, std::set<std::string>& served) {
    for (const auto& [path, info] : model.points()) {
        const PathText cut = splitPath(path);
        served.insert(cut.member);
        for (const std::string& node : nodesOf(cut.node)) {
            served.insert(node);
        }
    }
}

template <typename E>
void count(E last, const std::set<std::string>& served, std::vector<std::string>& missing, int& members) {
    for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(last); ++number) {
        const std::string text = to_string(static_cast<E>(number));
        if (text != "UNKNOWN") {
            ++members;
            if (served.count(text) == 0) {
                missing.push_back(text);
            }
        }
    }
}

} // namespace

TEST(CoverageTest, TheDevicesTogetherServeAllThatADeviceCanServe) {
    using namespace powerdistribution;
    std::set<std::string> served;
    for (const std::string& name : shippedDevices()) {
        collect(ShippedDevice{name}.model, served);
    }
    int members = 0;
    std::vector<std::string> missing;
    count(EProperty::Settings, served, missing, members);
    count(ECommunicationStatus::Since, served, missing, members);
    count(ECircuit::Synchroniser, served, missing, members);
    count(EPowerConverter::DcBus, served, missing, members);
    count(EMeasurement::Phase, served, missing, members);
    count(ESpecification::TrippedVoltageThreshold, served, missing, members);
    count(ESetting::WiringFaultEnabled, served, missing, members);
    count(EStatus::HealthState, served, missing, members);
    count(EAttribute::Vendor, served, missing, members);
    count(EAction::SwitchOn, served, missing, members);
    count(EPrivateAction::SetProductName, served, missing, members);
    // The rest is the library's own (its nodes, the health) or the plug-in's (the link, the alarm file).
    EXPECT_EQ(missing,
              (std::vector<std::string>{"Settings", "CommunicationStatus.State", "CommunicationStatus.Since",
                                        "PowerEquipment", "PowerDistribution", "Status.HealthState"}));
    EXPECT_EQ(members, 293);
}

TEST(CoverageTest, TypesAreThoseOfTheStoresCatalogue) {
    const std::map<std::string, std::string> names{{"boolean", "bool"}, {"float32", "float"}};
    int compared = 0;
    for (const auto& [member, type] : catalogue()) {
        if (member.starts_with("CommunicationStatus")) {
            continue;
        }
        const auto known = memberType(member);
        ASSERT_TRUE(known.has_value()) << member;
        EXPECT_EQ(to_string(*known), names.count(type) != 0 ? names.at(type) : type) << member;
        ++compared;
    }
    EXPECT_EQ(compared, 266);
}

TEST(CoverageTest, EveryValueIsOfTheTypeOfItsPoint) {
    for (const std::string& name : shippedDevices()) {
        ShippedDevice device{name};
        device.run(1);
        for (const auto& [path, info] : device.model.points()) {
            const Value value = device.model.read(path);
            EXPECT_TRUE(!value.hasValue() || isOfType(value, info.type)) << name << " " << path;
            EXPECT_TRUE(info.readable || !value.hasValue()) << name << " " << path;
        }
    }
}

TEST(CoverageTest, WhatTheLibraryComputesIsServedByNobodyElse) {
    const std::regex computed{R"((Inputs|Outputs|Outlets)\.\d+|PowerConverters\.\w+|BackupSystem\.PowerBank|)"
                              R"(BackupSystem\.PowerBank\.(Chargers|StorageModules)\.\d+|)"};
    for (const std::string& name : shippedDevices()) {
        for (const auto& [path, info] : ShippedDevice{name}.model.points()) {
            const PathText cut = splitPath(path);
            EXPECT_NE(cut.member, "Status.HealthState") << name << " " << path;
            EXPECT_FALSE(cut.member == "Status.OperatingStatus" && std::regex_match(cut.node, computed))
                << name << " " << path;
        }
    }
}

TEST(CoverageTest, TheLibraryTakesEveryAlarmFile) {
    for (const std::string& name : shippedDevices()) {
        const std::string file = readDeviceFile(deviceFile(name)).alarmFile;
        EXPECT_TRUE(std::filesystem::exists(file)) << file;
        EXPECT_EQ(powerdistribution::protocols::checkAlarmFile(file), std::nullopt);
    }
}

TEST(CoverageTest, EveryAlarmHasItsDataPointAndItsSettingBesideIt) {
    for (const std::string& name : shippedDevices()) {
        const ShippedDevice device{name};
        const auto alarms = read(device.model.description().alarmFile);
        EXPECT_FALSE(alarms.at("alarms").empty()) << name;
        std::size_t triggers = 0;
        for (const auto& [path, alarm] : alarms.at("alarms").items()) {
            const PointInfo* point = device.model.find(path);
            ASSERT_NE(point, nullptr) << name << " " << path;
            EXPECT_TRUE(point->readable) << name << " " << path;
            for (const auto& trigger : alarm.at("triggers")) {
                ++triggers;
                if (trigger.contains("reference")) {
                    const std::string setting =
                        joinPath(splitPath(path).node, std::string{trigger.at("reference")});
                    EXPECT_TRUE(device.model.read(setting).holds<float>()) << name << " " << setting;
                }
            }
        }
        EXPECT_EQ(alarms.at("alarmPriorities").size(), triggers) << name;
    }
}

TEST(CoverageTest, EveryPathIsReadAndWrittenByItsOwnText) {
    const ShippedDevice device{"ups-3ph"};
    EXPECT_EQ(device.model.find("Outlets.7.Status.SwitchedOn"), nullptr);
    EXPECT_EQ(device.model.find(""), nullptr);
    EXPECT_EQ(device.model.find("Outlets.x.Status.SwitchedOn"), nullptr);
    EXPECT_FALSE(device.model.read("Outlets.7.Status.SwitchedOn").hasValue());
    EXPECT_NE(device.model.find("Outlets.6.Status.SwitchedOn"), nullptr);
}

} // namespace velk::simulator
