#include "plugins/nut/ActionWrapper.h"

#include "plugins/nut/Encoding.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

namespace velk::nut {

using powerdistribution::Value;

namespace {

/// The delay in seconds, or none for a value that starts nothing.
std::optional<std::int32_t> delayOf(const Value& value) {
    if (const auto* flag = value.getIf<bool>()) {
        return *flag ? std::optional{0} : std::nullopt;
    }
    if (const auto* delay = value.getIf<std::int32_t>()) {
        return *delay >= 0 ? std::optional{*delay} : std::nullopt;
    }
    const auto* delay = value.getIf<std::uint32_t>();
    constexpr auto MOST = static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
    return delay != nullptr && *delay <= MOST ? std::optional{static_cast<std::int32_t>(*delay)}
                                              : std::nullopt;
}

} // namespace

ActionWrapper::ActionWrapper(std::shared_ptr<NutDevice> target, std::vector<ActionStep> offeredSteps) :
    device{std::move(target)}, steps{std::move(offeredSteps)} {}

bool ActionWrapper::write(const Value& value) {
    const auto delay = delayOf(value);
    if (!delay) {
        return false;
    }
    try {
        if (!device->poller.current()) {
            throw std::runtime_error{"the device cannot be reached"};
        }
        carryOut(stepFor(*delay), *delay);
        return true;
    } catch (const std::exception& failure) {
        std::cerr << "nut: " + device->configuration.deviceName() + ": " + steps.front().name +
                         " was not carried out: " + failure.what() + "\n";
        return false;
    }
}

const ActionStep& ActionWrapper::stepFor(std::int32_t delay) const {
    const auto step = std::find_if(steps.begin(), steps.end(), [&](const ActionStep& candidate) {
        return delay == 0 || candidate.delay != ActionStep::Delay::None;
    });
    if (step == steps.end()) {
        throw std::runtime_error{"the device cannot delay it"};
    }
    return *step;
}

void ActionWrapper::carryOut(const ActionStep& step, std::int32_t delay) {
    if (step.word.empty()) {
        const bool hasParameter = step.delay == ActionStep::Delay::Asked;
        device->commander.run(step.name, hasParameter ? std::to_string(delay) : std::string{});
        return;
    }
    const auto hasArrived = [&](const std::string& /*before*/, const std::string& now) {
        return decodeBool(now) == decodeBool(step.word);
    };
    const auto snapshot = device->poller.lastGood();
    const std::string* present = snapshot->find(step.name);
    const std::string word =
        encode({decodeBool, {}, {}}, decodeBool(step.word), present == nullptr ? "" : *present, {});
    device->poller.put(step.name, device->commander.set(step.name, word, hasArrived));
}

std::string ActionWrapper::sourceName() const {
    std::string names;
    for (const ActionStep& step : steps) {
        const std::string name = step.word.empty() ? step.name : step.name + " " + step.word;
        names += (names.empty() ? "" : " or ") + name;
    }
    return names;
}

} // namespace velk::nut
