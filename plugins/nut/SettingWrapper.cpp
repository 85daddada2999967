#include "plugins/nut/SettingWrapper.h"

#include "plugins/nut/Encoding.h"
#include "plugins/nut/Texts.h"

#include <algorithm>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <utility>

namespace velk::nut {

using powerdistribution::Value;

namespace {

/// The first command of the device that brings it to `asked`, or an empty text.
std::string commandFor(const Codec& codec, const Value& asked, const Capabilities& capabilities) {
    for (const CommandForValue& choice : codec.commands) {
        if (choice.value == asked) {
            const auto command = std::find_if(choice.commands.begin(), choice.commands.end(),
                                              [&](const auto& name) { return capabilities.canRun(name); });
            return command == choice.commands.end() ? std::string{} : *command;
        }
    }
    return {};
}

/// The limits that the server lists, and those that the device gives as variables of their own.
VariableLimits limitsOf(const std::string& variable, const Snapshot& snapshot) {
    const auto entry = snapshot.capabilities->writable.find(variable);
    if (entry == snapshot.capabilities->writable.end()) {
        throw std::runtime_error{"the device does not let it be set"};
    }
    VariableLimits limits = entry->second;
    const std::string* least = snapshot.find(variable + ".min");
    const std::string* most = snapshot.find(variable + ".max");
    if (limits.ranges.empty() && least != nullptr && most != nullptr && parseNumber(*least) &&
        parseNumber(*most)) {
        limits.ranges.emplace_back(*least, *most);
    }
    return limits;
}

} // namespace

SettingWrapper::SettingWrapper(std::shared_ptr<NutDevice> target, std::string variableName, Codec writing,
                               bool canBeWritten, bool isKeptWhileLost) :
    device{std::move(target)},
    variable{std::move(variableName)},
    codec{std::move(writing)},
    writable{canBeWritten},
    keptWhileLost{isKeptWhileLost} {}

Value SettingWrapper::read() const {
    const auto snapshot = keptWhileLost ? device->poller.lastGood() : device->poller.current();
    const std::string* text = snapshot ? snapshot->find(variable) : nullptr;
    return text == nullptr ? Value{} : codec.decode(*text);
}

bool SettingWrapper::write(const Value& value) {
    if (!writable || !value.hasValue()) {
        return false;
    }
    try {
        const auto snapshot = device->poller.current();
        if (!snapshot) {
            throw std::runtime_error{"the device cannot be reached"};
        }
        device->poller.put(variable, change(value, *snapshot));
        return true;
    } catch (const std::exception& failure) {
        std::cerr << "nut: " + device->configuration.deviceName() + ": " + variable +
                         " was not set: " + failure.what() + "\n";
        return false;
    }
}

std::string SettingWrapper::change(const Value& asked, const Snapshot& snapshot) {
    const std::string* text = snapshot.find(variable);
    const std::string present = text == nullptr ? std::string{} : *text;
    const auto hasArrived = [&](const std::string& before, const std::string& now) {
        return now != before || codec.decode(now) == asked;
    };
    const std::string command = commandFor(codec, asked, *snapshot.capabilities);
    if (!command.empty()) {
        return device->commander.run(command, variable, hasArrived);
    }
    return device->commander.set(variable, encode(codec, asked, present, limitsOf(variable, snapshot)),
                                 hasArrived);
}

} // namespace velk::nut
