// What a tester writes into the control socket of the simulator: a command a line, carried out on a device.

#include "fuzz/Places.h"
#include "platform/common/lwjson/JsonError.h"
#include "plugins/simulator/world/Simulation.h"

#include <stdexcept>

using namespace velk::simulator;
using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;
using velk::fuzz::demand;

namespace {

DeviceDescription sample() {
    static const DeviceDescription device =
        readDeviceFile(VELK_SOURCE_DIR "/fuzz/corpus/simulator_device/small");
    return device;
}

/// Reads other files, or takes as long as it says.
bool isLeftOut(const Command& command) {
    const auto* advance = std::get_if<AdvanceCommand>(&command);
    return std::holds_alternative<PlayCommand>(command) ||
           (advance != nullptr && advance->time > std::chrono::seconds{10});
}

} // namespace

VELK_FUZZER(simulator_command) {
    velk::common::Clock& clock = velk::common::Clock::system();
    const auto device = std::make_shared<SimulatedDevice>(sample(), 1);
    const auto faults = std::make_shared<FaultTable>();
    const auto link = std::make_shared<DeviceLink>(device, faults, std::chrono::milliseconds{1}, clock);
    Simulation simulation{{0, std::chrono::milliseconds{1000}, {}, {}}, device, faults, link, clock};
    for (int count = 0; count < 8 && !input.empty(); ++count) {
        const std::string_view line = velk::fuzz::takeLine(input);
        try {
            const Deserializer json{line};
            const Command command = readCommand(json.root());
            if (isLeftOut(command)) {
                continue;
            }
            const std::string answer = R"({"ok":true)" + simulation.execute(command) + "}";
            const Deserializer read{answer};
            demand(read.findMember("ok") != nullptr, "an answer without its members");
        } catch (const JsonError& refusal) {
            velk::fuzz::demandPlace(line, refusal.position());
        } catch (const std::exception& refusal) {
            demand(refusal.what() != std::string{}, "refused without a reason");
        }
    }
}
