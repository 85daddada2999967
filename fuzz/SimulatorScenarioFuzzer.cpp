// A scenario of the simulator.

#include "fuzz/InputFile.h"
#include "fuzz/Places.h"
#include "plugins/simulator/world/Scenario.h"

#include <algorithm>
#include <stdexcept>

using namespace velk::simulator;
using velk::fuzz::demand;

VELK_FUZZER(simulator_scenario) {
    static const velk::fuzz::InputFile file;
    file.hold(input);
    try {
        const Scenario scenario = readScenario(file.path());
        demand(std::is_sorted(scenario.steps.begin(), scenario.steps.end(),
                              [](const auto& a, const auto& b) { return a.at < b.at; }),
               "the steps are not in the order of time");
        for (const Scenario::Step& step : scenario.steps) {
            demand(step.at.count() >= 0, "a step before the start");
            demand(step.command || !step.say.empty(), "a step that does nothing");
        }
    } catch (const std::runtime_error& refusal) {
        velk::fuzz::demandPlacedMessage(input, refusal.what(), file.path());
    }
}
