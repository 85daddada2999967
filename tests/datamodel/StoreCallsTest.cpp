// What a start of a device's tree asks of the store.

#include "ManagerFixture.h"
#include "powerdistribution/connectors/TessDatabaseManager.h"
#include "powerdistribution/handlers/GenericHandler.h"
#include "testing/FakeTessAccessor.h"

#include <memory>
#include <utility>

namespace velk::powerdistribution::datamodel {
namespace {

/// An outlet with two measures, a status, two settings and an action, all texts but its health.
class StoreCallsTest : public testing::ManagerFixture {
protected:
    StoreCallsTest() {
        auto client = std::make_unique<testing::FakeTessAccessor>();
        fake = client.get();
        fake->inbandAccessor().setType("PowerDistribution.Status.HealthState", qz::datatype::uint32);
        database = std::make_unique<connectors::TessDatabaseManager>(std::move(client));
        device.add(outlet + EMeasurement::Current, Value{std::string{"1 A"}});
        device.add(outlet + EMeasurement::Voltage, Value{std::string{"230 V"}});
        device.add(outlet + EStatus::Supply, Value{std::string{"on"}});
        device.add(outlet + ESetting::AutomaticSwitchOffDelay, Value{std::string{"5 s"}});
        device.add(outlet + ESetting::AutomaticSwitchOnDelay, Value{std::string{"6 s"}});
        device.add(outlet + EAction::SwitchOn, Value{std::string{}});
    }

    bool build(DataModelManager& model) {
        return model.build(device, database->connectorFactory(),
                           [this](const EPath&, const velk::common::Uuid& root, const Factories& factories) {
                               return std::make_shared<handlers::GenericHandler>(outlet, root, factories);
                           });
    }

    std::string valueOf(const std::string& name) const {
        const std::uint64_t id = fake->deviceIdOf(velk::common::Uuid{root(), outlet.nodesToString()});
        const qz::CValue value = fake->inbandAccessor().channel(id, "PowerDistribution." + name).value;
        return value.isValid() ? value.as_string() : "nothing";
    }

    static const velk::common::Uuid& root() { return testing::FakeTessAccessor::ROOT_UUID; }

    const EPath outlet{ECircuit::Outlets, 1u};
    testing::FakeTessAccessor* fake{nullptr};
    std::unique_ptr<connectors::TessDatabaseManager> database;
    DataModelManager tree{quick(), clock};
};

TEST_F(StoreCallsTest, TheChannelsOfADeviceAreMadeInTwoCallsAndAnActionAlone) {
    ASSERT_TRUE(build(tree));
    EXPECT_EQ(fake->calls("emplaceChannel").size(), 2U) << "settings and action, which hear from now on";
    ASSERT_TRUE(tree.initialize());
    EXPECT_EQ(fake->calls("emplaceChannel").size(), 3U);
    EXPECT_EQ(fake->calls("emplaceChannels").size(), 2U);
}

TEST_F(StoreCallsTest, FirstReadingsAreWrittenInOneCallAndSettingsEachAtOnce) {
    ASSERT_TRUE(build(tree));
    ASSERT_TRUE(tree.initialize());
    EXPECT_EQ(fake->calls("setChannelCValues").size(), 1U);
    EXPECT_EQ(fake->calls("setChannelCValue(").size(), 2U);
    EXPECT_EQ(valueOf("Measure.Voltage"), "230 V");
    EXPECT_EQ(valueOf("Status.Supply"), "on");
    EXPECT_EQ(valueOf("Setting.AutomaticSwitchOffDelay"), "5 s");
}

TEST_F(StoreCallsTest, OverAStoreThatHoldsAllOnlyTheHealthIsWritten) {
    ASSERT_TRUE(build(tree));
    ASSERT_TRUE(tree.initialize());
    fake->forgetCalls();
    DataModelManager second{quick(), clock};
    ASSERT_TRUE(build(second));
    ASSERT_TRUE(second.initialize());
    ASSERT_EQ(fake->calls("setChannel").size(), 1U);
    EXPECT_NE(fake->calls("setChannel").front().find("=5)"), std::string::npos);
}

TEST_F(StoreCallsTest, WhatTheStoreHasRefusedIsInItAfterTheNextTry) {
    ASSERT_TRUE(build(tree));
    fake->faults().failOn("setChannelCValues");
    fake->faults().failOn("setChannelCValue");
    const std::string errors = errorsOf([&] { EXPECT_FALSE(tree.initialize()); });
    EXPECT_NE(errors.find("Failed to initialize data model: "), std::string::npos);
    fake->faults().recover();
    EXPECT_TRUE(tree.initialize());
    for (const auto& [name, text] : {std::pair{"Measure.Current", "1 A"},
                                     {"Measure.Voltage", "230 V"},
                                     {"Status.Supply", "on"},
                                     {"Setting.AutomaticSwitchOffDelay", "5 s"}}) {
        EXPECT_EQ(valueOf(name), text);
    }
}

} // namespace
} // namespace velk::powerdistribution::datamodel
