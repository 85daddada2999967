#include "plugins/simulator/world/Scenario.h"

#include "platform/common/lwjson/JsonError.h"
#include "plugins/simulator/world/Members.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace velk::simulator {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

namespace {

constexpr double LATEST_STEP_S = 366.0 * 24 * 3600;

Scenario::Step readStep(const Node& node) {
    Members members{node};
    Scenario::Step step;
    const double at =
        numberOf(members.need("at", "its time in simulated seconds from the start"), 0, LATEST_STEP_S);
    step.at = std::chrono::milliseconds{std::llround(at * 1000)};
    if (const Node* say = members.find("say")) {
        step.say = textOf(*say);
    }
    step.command = readStepCommand(node);
    if (step.say.empty() && !step.command) {
        refuse(node, "needs a member \"do\" or \"say\"");
    }
    return step;
}

Scenario read(const Node& root) {
    Members members{root};
    Scenario scenario;
    scenario.name = textOf(members.need("name", "what the scenario is called"));
    const Node& steps = members.need("steps", "an array of what happens");
    if (steps.getValueType() != ValueType::Array) {
        refuse(steps, "must be an array");
    }
    members.finish();
    for (const Node& step : steps.members()) {
        scenario.steps.push_back(readStep(step));
    }
    std::stable_sort(scenario.steps.begin(), scenario.steps.end(),
                     [](const auto& a, const auto& b) { return a.at < b.at; });
    return scenario;
}

} // namespace

Scenario readScenario(const std::filesystem::path& file) {
    std::ostringstream text;
    std::error_code ignored;
    const std::ifstream stream{file};
    if (!std::filesystem::is_regular_file(file, ignored) || !stream) {
        throw std::runtime_error{file.string() + ": cannot be read"};
    }
    text << stream.rdbuf();
    try {
        return read(Deserializer{text.str()}.root());
    } catch (const JsonError& failure) {
        throw std::runtime_error{file.string() + ":" + std::to_string(failure.position().line) + ":" +
                                 std::to_string(failure.position().column) + ": " + failure.reason()};
    }
}

} // namespace velk::simulator
