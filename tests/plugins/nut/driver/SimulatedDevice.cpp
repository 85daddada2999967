#include "tests/plugins/nut/driver/SimulatedDevice.h"

#include "plugins/nut/ProtocolLine.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace velk::testing {

using velk::nut::quote;
using velk::nut::splitLine;

namespace {

std::string behind(const std::string& text, std::size_t count, char separator) {
    std::size_t start = 0;
    for (; count > 0; --count) {
        start = text.find(separator, start);
        if (start == std::string::npos) {
            return {};
        }
        ++start;
    }
    return text.substr(start);
}

std::string part(const std::string& text, std::size_t index, char separator) {
    const std::string rest = behind(text, index, separator);
    return rest.substr(0, rest.find(separator));
}

} // namespace

SimulatedDevice::SimulatedDevice(const std::string& file) {
    std::ifstream stream{file};
    if (!stream) {
        throw std::runtime_error{"cannot read " + file};
    }
    for (std::string line; std::getline(stream, line);) {
        addLine(line);
    }
    variables["driver.name"] = "nut-testdriver";
}

void SimulatedDevice::addLine(const std::string& line) {
    if (line.empty() || line.front() == '#') {
        return;
    }
    if (line.rfind("CMD:", 0) == 0) {
        commands.insert(line.substr(4));
    } else if (line.rfind("RW:", 0) == 0) {
        Limits& limits = writable[part(line, 1, ':')];
        limits.type = part(line, 2, ':');
        if (const std::string value = behind(line, 3, ':'); !value.empty()) {
            limits.values.push_back(value);
        }
    } else {
        const auto words = splitLine(behind(line, 1, ':'));
        std::string value;
        for (const auto& word : words) {
            value += (value.empty() ? "" : " ") + word;
        }
        variables[part(line, 0, ':')] = value;
    }
}

std::string SimulatedDevice::describe(const std::string& variable) const {
    std::string text = "SETINFO " + variable + " " + quote(variables.at(variable)) + "\n";
    const auto entry = writable.find(variable);
    if (entry == writable.end()) {
        return text;
    }
    const auto& [type, values] = entry->second;
    text += "SETFLAGS " + variable + " RW" +
            (type == "STRING" ? " STRING"
             : type == "ENUM" ? ""
                              : " NUMBER") +
            "\n";
    for (const std::string& value : values) {
        if (type == "STRING") {
            text += "SETAUX " + variable + " " + value + "\n";
        } else if (type == "ENUM") {
            text += "ADDENUM " + variable + " " + quote(value) + "\n";
        } else if (type == "RANGE") {
            text += "ADDRANGE " + variable + " " + value + "\n";
        }
    }
    return text;
}

std::string SimulatedDevice::dump() const {
    std::string text;
    for (const auto& [variable, value] : variables) {
        text += describe(variable);
    }
    for (const std::string& command : commands) {
        text += "ADDCMD " + command + "\n";
    }
    return text + (fresh ? "DATAOK\n" : "DATASTALE\n") + "DUMPDONE\n";
}

std::string SimulatedDevice::answer(const std::string& line, std::string& news) {
    const auto words = splitLine(line);
    if (words.empty()) {
        return {};
    }
    if (words[0] == "PING") {
        return "PONG\n";
    }
    if (words[0] == "DUMPALL") {
        return dump();
    }
    return words[0] == "SET" || words[0] == "INSTCMD" ? change(words, news) : std::string{};
}

std::string SimulatedDevice::change(std::vector<std::string> words, std::string& news) {
    std::string tracking;
    if (words.size() > 3 && words[words.size() - 2] == "TRACKING") {
        tracking = words.back();
        words.resize(words.size() - 2);
    }
    std::string entry;
    for (const std::string& word : words) {
        entry += (entry.empty() ? "" : " ") + word;
    }
    received.push_back(entry);
    const int code = nextCode;
    nextCode = 0;
    if (ignoredChanges > 0) {
        --ignoredChanges;
    } else if (code == 0 && words[0] == "SET" && words.size() > 2) {
        variables[words[1]] = words[2];
        news += "SETINFO " + words[1] + " " + quote(words[2]) + "\n";
    }
    return tracking.empty() ? std::string{} : "TRACKING " + tracking + " " + std::to_string(code) + "\n";
}

std::string SimulatedDevice::control(const std::string& line, std::string& news) {
    const std::string verb = part(line, 0, ' ');
    const std::string variable = part(line, 1, ' ');
    if (verb == "SET") {
        variables[variable] = behind(line, 2, ' ');
        news += describe(variable);
    } else if (verb == "DEL") {
        variables.erase(variable);
        news += "DELINFO " + variable + "\n";
    } else if (verb == "STALE" || verb == "FRESH") {
        fresh = verb == "FRESH";
        news += fresh ? "DATAOK\n" : "DATASTALE\n";
    } else if (verb == "CODE") {
        nextCode = std::stoi(variable);
    } else if (verb == "IGNORE") {
        ignoredChanges = std::stoi(variable);
    } else if (verb == "LOG") {
        std::string all;
        for (const std::string& entry : received) {
            all += entry + ";";
        }
        return all;
    } else {
        return "unknown";
    }
    return "done";
}

} // namespace velk::testing
