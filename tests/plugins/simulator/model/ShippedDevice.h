#pragma once

#include "plugins/simulator/model/Model.h"
#include "plugins/simulator/model/Plant.h"
#include "powerdistribution/core/ValueEnums.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace velk::simulator {

using powerdistribution::Mode;

/// The devices that come with the plug-in.
inline const std::vector<std::string>& shippedDevices() {
    static const std::vector<std::string> names{"ups-1ph", "ups-3ph", "ats", "pdu-42"};
    return names;
}

inline std::filesystem::path deviceFile(const std::string& name) {
    return std::filesystem::path{VELK_SOURCE_DIR} / "plugins/simulator/devices" / (name + ".json");
}

/// A running device with short words for what tests ask.
class ShippedDevice {
public:
    explicit ShippedDevice(const std::string& name, std::uint32_t seed = 1) :
        model{readDeviceFile(deviceFile(name)), seed} {}

    /// Runs in steps of 100 ms.
    void run(double seconds) {
        for (int step = 0; step < static_cast<int>(seconds * 10 + 0.5); ++step) {
            model.step(std::chrono::milliseconds{100});
        }
    }

    double number(const std::string& path) const { return model.read(path).get<float>(); }
    bool flag(const std::string& path) const { return model.read(path).get<bool>(); }
    std::uint32_t state(const std::string& path) const { return model.read(path).get<std::uint32_t>(); }
    Mode mode() const { return static_cast<Mode>(state("Status.Mode")); }

    void mains(MainsState state) { model.setMains({{}, {}, state, {}, {}}); }
    void mains(std::uint32_t input, MainsState state) { model.setMains({input, {}, state, {}, {}}); }
    void mainsVoltage(double volts) { model.setMains({{}, {}, {}, volts, {}}); }
    void outletLoad(std::uint32_t outlet, double watts) { model.setLoad({outlet, {}, {}, watts, {}}); }
    void charge(double percent) { model.setBattery({percent, {}, {}, {}}); }

    bool act(const std::string& path) { return model.write(path, Value{}); }
    bool act(const std::string& path, std::int32_t delay) { return model.write(path, Value{delay}); }
    bool set(const std::string& path, Value value) { return model.write(path, value); }

    Model model;
};

} // namespace velk::simulator
