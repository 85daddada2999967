// Every path that the plug-in serves for every device file, through the real server: the types must be those
// of the store's catalogue, since the store refuses a value of another type and the model then never starts.

#include "platform/tessapi/catalogue/Catalogue.h"
#include "testing/NutServer.h"
#include "tests/plugins/nut/HostedPlugin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>

namespace velk::nut {
namespace {

using namespace powerdistribution;
using velk::testing::HostedPlugin;
using velk::testing::NutServer;

qz::datatype typeOf(const Value& value) {
    static const std::map<std::string, qz::datatype> types{
        {"bool", qz::datatype::boolean},       {"int32_t", qz::datatype::int32},
        {"uint32_t", qz::datatype::uint32},    {"float", qz::datatype::float32},
        {"UnixTime", qz::datatype::timestamp}, {"std::string", qz::datatype::string}};
    const auto entry = types.find(typeName(value));
    return entry == types.end() ? qz::datatype::unknown : entry->second;
}

/// Bounds that no quantity of a power device leaves.
bool isPlausible(float number, const std::string& unit) {
    static const std::map<std::string, std::pair<float, float>> bounds{
        {"V", {0, 1000}}, {"A", {-2000, 2000}}, {"Hz", {0, 440}},  {"%", {0, 200}},  {"°C", {-50, 150}},
        {"W", {0, 1e7F}}, {"VA", {0, 1e7F}},    {"Ah", {0, 1e5F}}, {"s", {0, 1e6F}}, {"", {-1, 10}}};
    const auto entry = bounds.find(unit);
    return entry != bounds.end() && number >= entry->second.first && number <= entry->second.second;
}

class ServedPaths {
public:
    explicit ServedPaths(const HostedPlugin& plugin) : host{plugin} {}

    /// Looks at a node with all members of the vocabulary, and at what lies below it.
    void visit(const EPath& node) {
        look<EAttribute>(node, EAttribute::Vendor);
        look<ESpecification>(node, ESpecification::TrippedVoltageThreshold);
        look<EStatus>(node, EStatus::HealthState);
        look<EMeasurement>(node, EMeasurement::Phase);
        look<ESetting>(node, ESetting::WiringFaultEnabled);
        look<ECommunicationStatus>(node, ECommunicationStatus::Since);
    }
    void visitCollection(const EPath& collection, bool hasPhases) {
        const Value count = host.read(collection + EAttribute::Count);
        for (std::uint32_t item = 1; count.holds<std::uint32_t>() && item <= count.get<std::uint32_t>();
             ++item) {
            visit(collection + item);
            if (hasPhases) {
                visitCollection(collection + item + ECircuit::Phases, false);
            }
        }
    }
    void visitAll() {
        visit({});
        visit({EProperty::Identification});
        visit({ECircuit::Connectivity});
        visit({ECircuit::Environment});
        visit({ECircuit::PowerModules});
        for (const ECircuit collection :
             {ECircuit::Inputs, ECircuit::Outputs, ECircuit::Outlets, ECircuit::Branches}) {
            visitCollection({collection}, true);
        }
        for (std::uint32_t kind = 1; kind <= static_cast<std::uint32_t>(EPowerConverter::DcBus); ++kind) {
            visit({ECircuit::PowerConverters, static_cast<EPowerConverter>(kind)});
        }
        const EPath bank{ECircuit::BackupSystem, ECircuit::PowerBank};
        visit(bank);
        visitCollection(bank + ECircuit::Chargers, false);
        visitCollection(bank + ECircuit::StorageModules, false);
    }

    std::size_t served{0};
    std::size_t withValue{0};

private:
    template <typename E>
    void look(const EPath& node, E last) {
        for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(last); ++number) {
            const EPath path = node + static_cast<E>(number);
            if (const auto wrapper = host.wrapper(path)) {
                ++served;
                check(path, wrapper->read());
                check(path, wrapper->read());
            }
        }
    }

    void check(const EPath& path, const Value& value) {
        if (!value.hasValue()) {
            return;
        }
        ++withValue;
        const auto* entry =
            tessapi::Catalogue::builtin().find("PowerDistribution." + path.lastNode().tostring());
        ASSERT_NE(entry, nullptr) << path;
        EXPECT_EQ(typeOf(value), entry->type) << path << " reads as " << typeName(value);
        if (const auto* number = value.getIf<float>()) {
            EXPECT_TRUE(isPlausible(*number, entry->unit)) << path << " is " << *number << " " << entry->unit;
        }
        if (const auto* words = value.getIf<std::string>()) {
            EXPECT_FALSE(words->empty()) << path;
        }
    }

    const HostedPlugin& host;
};

std::vector<std::filesystem::path> deviceFiles(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    if (std::filesystem::exists(folder)) {
        for (const auto& entry : std::filesystem::directory_iterator{folder}) {
            if (entry.path().extension() == ".dev") {
                files.push_back(entry.path());
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void checkAll(const std::vector<std::filesystem::path>& files) {
    std::vector<std::string> devices;
    for (const auto& file : files) {
        devices.push_back(file.stem().string() + "=" + file.string());
    }
    const NutServer server{devices};
    for (const auto& file : files) {
        SCOPED_TRACE(file.string());
        HostedPlugin plugin{server.port(), file.stem().string()};
        ASSERT_TRUE(plugin.find());
        ServedPaths paths{plugin};
        paths.visitAll();
        EXPECT_GT(paths.served, 20U);
        EXPECT_GT(paths.withValue, paths.served) << "each value is read twice, and most paths have one";
        const Value uuid = plugin.read({EProperty::Identification, EAttribute::Uuid});
        const Value serial = plugin.read({EProperty::Identification, EAttribute::SerialNumber});
        EXPECT_TRUE(uuid.hasValue() || serial.hasValue()) << "a device without any identity";
        EXPECT_EQ(plugin.read({ECommunicationStatus::State}), Value{std::uint32_t{2}});
    }
}

TEST(ServedPathsTest, OwnDeviceFilesReadWithTheTypesOfTheCatalogue) {
    const auto files = deviceFiles(std::string{VELK_SOURCE_DIR} + "/plugins/nut/demo");
    ASSERT_GE(files.size(), 4U);
    checkAll(files);
}

TEST(ServedPathsTest, RecordedDeviceFilesReadWithTheTypesOfTheCatalogue) {
    const auto files = deviceFiles(std::string{VELK_SOURCE_DIR} + "/../shared/devices");
    if (!files.empty()) { // when recorded devices lie beside the project
        checkAll(files);
    }
}

TEST(ServedPathsTest, SinglePhaseUpsComesOutAsItsFileTells) {
    const NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
    HostedPlugin plugin{server.port(), "u1", {"velk", "secret", NutServer::demoFile("alarms.json"), 200}};
    ASSERT_TRUE(plugin.find());
    EXPECT_EQ(plugin.read({EProperty::Identification, EAttribute::ProductName}),
              Value{std::string{"Harbour 1500"}});
    EXPECT_EQ(plugin.read({EStatus::Mode}), Value{std::uint32_t{2}});
    EXPECT_EQ(plugin.read({ECircuit::Outputs, 1U, EMeasurement::PercentLoad}), Value{34.0F});
    EXPECT_EQ(plugin.read({ECircuit::Outlets, EAttribute::Count}), Value{std::uint32_t{2}});
    EXPECT_EQ(plugin.read({ECircuit::Outlets, 2U, EStatus::SwitchedOn}), Value{false});
    EXPECT_EQ(plugin.read({ECircuit::Outlets, 1U, ESetting::AutomaticSwitchOffDelay}),
              Value{std::int32_t{-1}});
    EXPECT_EQ(plugin.read({ECircuit::BackupSystem, ECircuit::PowerBank, EMeasurement::RemainingTime}),
              Value{std::uint32_t{2340}});
    EXPECT_EQ(plugin.read({ESetting::AudibleAlarmControl}), Value{std::uint32_t{2}});
    EXPECT_EQ(plugin.read({EPrivate::AlarmConfigurationFile}), Value{NutServer::demoFile("alarms.json")});
}

} // namespace
} // namespace velk::nut
