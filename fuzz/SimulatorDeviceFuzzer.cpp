// The file of a simulated device, and the device that it describes.

#include "fuzz/InputFile.h"
#include "fuzz/Places.h"
#include "plugins/simulator/model/DeviceFileError.h"
#include "plugins/simulator/model/Model.h"

#include <cmath>

using namespace velk::simulator;

VELK_FUZZER(simulator_device) {
    static const velk::fuzz::InputFile file;
    file.hold(input);
    try {
        Model model{readDeviceFile(file.path())};
        for (const int milliseconds : {1, 100, 1000, 60'000}) {
            model.step(std::chrono::milliseconds{milliseconds});
        }
        for (const auto& [path, point] : model.points()) {
            const Value value = model.read(path);
            const float* number = value.getIf<float>();
            velk::fuzz::demand(number == nullptr || std::isfinite(*number), path + " is no number");
        }
    } catch (const DeviceFileError& refusal) {
        velk::fuzz::demandPlacedMessage(input, refusal.what(), file.path());
    }
}
