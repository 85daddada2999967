#pragma once

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/LevelAlarm.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"

#include <memory>
#include <string>
#include <vector>

namespace velk::cli::test {

/// A real store in a temporary folder, filled as the daemon fills it for a small UPS with one outlet, and the
/// real `tess` to look at it.
class SampleStore {
public:
    SampleStore() {
        store->emplaceDevice(uuid("equipment"), 1, 2);
        store->emplaceDevice(uuid("device"), 2, 20);
        input = store->emplaceDevice(uuid("input"), 20, 0);
        outlet = store->emplaceDevice(uuid("outlet"), 20, 0);
        text(2, tessapi::DeviceAttribute::path, "PowerEquipment");
        text(20, tessapi::DeviceAttribute::path, "PowerDistribution");
        text(20, tessapi::DeviceAttribute::productName, "Test UPS 1500");
        text(20, tessapi::DeviceAttribute::serialNumber, "SN-1");
        text(input, tessapi::DeviceAttribute::path, "Inputs.1");
        text(outlet, tessapi::DeviceAttribute::path, "Outlets.1");
        connect(true);
        set(2, "Status.OperatingStatus", qz::CValue{16U});
        set(20, "Status.Mode", qz::CValue{2U});
        set(20, "Status.LowRuntime", qz::CValue{false});
        set(20, "Setting.AudibleAlarmControl", qz::CValue{2U});
        set(20, "Action.StartTest", qz::CValue{});
        set(20, "Action.SwitchOff", qz::CValue{});
        set(input, "Measure.Voltage", qz::CValue{230.1F});
        set(outlet, "Setting.AutomaticSwitchOffDelay", qz::CValue{5});
        set(outlet, "Action.SwitchOff", qz::CValue{});
        set(outlet, "Action.SwitchOn", qz::CValue{});
    }

    static velk::common::Uuid uuid(const std::string& name) {
        return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "sample " + name};
    }

    std::uint64_t channel(std::uint64_t device, const std::string& name) {
        return store->inbandAccessor().emplaceChannel(device, "PowerDistribution." + name, false);
    }

    /// Makes the channel; an invalid value leaves it without one.
    void set(std::uint64_t device, const std::string& name, const qz::CValue& value) {
        const std::uint64_t made = channel(device, name);
        if (value.isValid()) {
            store->inbandAccessor().setChannelCValue(made, value);
        }
    }

    qz::CValue get(std::uint64_t device, const std::string& name) {
        return store->inbandAccessor().getChannelCValue(channel(device, name));
    }

    void text(std::uint64_t device, tessapi::DeviceAttribute attribute, const std::string& value) {
        store->inbandAccessor().setDeviceAttribute(device, attribute, value);
    }

    void connect(bool good) { set(20, "CommunicationStatus.State", qz::CValue{good ? 2U : 3U}); }

    void alarm(std::uint64_t device, const std::string& name, const std::string& code) {
        qz::CAlarmTrigger trigger;
        trigger.level = tessapi::LevelAlarm::critical;
        trigger.type = 3;
        trigger.threshold1 = qz::CValue{true};
        trigger.priority = 0;
        trigger.code = code;
        qz::tess::CSingleAlarmConfig config;
        config.triggers.push_back(trigger);
        store->inbandAccessor().setChannelAlarmConfig(channel(device, name), config);
    }

    std::string url() const { return "sqlite:" + (folder / "tess.db").string(); }

    /// `tess` with these arguments, started.
    std::unique_ptr<velk::testing::ChildProcess> start(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), VELK_BINARY_DIR "/bin/tess");
        return std::make_unique<velk::testing::ChildProcess>(
            arguments, std::vector<std::string>{"TESS_URL=" + url(), "TZ=UTC"});
    }

private:
    velk::testing::TemporaryDirectory folder;

public:
    std::unique_ptr<tessapi::TessAccessor> store{tessapi::TessAccessor::open("sample", url())};
    std::uint64_t input{0};
    std::uint64_t outlet{0};
};

} // namespace velk::cli::test
