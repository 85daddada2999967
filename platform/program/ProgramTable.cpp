#include "platform/program/ProgramTable.h"

#include <algorithm>
#include <sstream>

namespace velk::program {

namespace {

const OptionRow* findIn(const std::vector<OptionRow>& options, const std::string& name) {
    for (const OptionRow& option : options) {
        const auto names = namesOf(option);
        if (std::find(names.begin(), names.end(), name) != names.end()) {
            return &option;
        }
    }
    return nullptr;
}

} // namespace

std::string ArgumentRow::name() const {
    std::string name;
    for (const char letter : form) {
        if (letter != '[' && letter != ']' && letter != '.') {
            name += letter;
        }
    }
    return name;
}

const OptionRow* CommandRow::findOption(const std::string& optionName) const {
    return findIn(options, optionName);
}

const OptionRow* ProgramTable::findOption(const std::string& optionName) const {
    return findIn(options, optionName);
}

const CommandRow* ProgramTable::findCommand(const std::string& commandName) const {
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const CommandRow& row) { return row.name == commandName; });
    return found == commands.end() ? nullptr : &*found;
}

std::vector<std::string> namesOf(const OptionRow& option) {
    std::vector<std::string> names;
    std::istringstream stream{option.names};
    for (std::string name; std::getline(stream, name, ',');) {
        names.push_back(name);
    }
    return names;
}

std::string wrapped(const std::string& text, std::size_t width, const std::string& indent) {
    std::istringstream words{text};
    std::string result;
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && line.size() + 1 + word.size() > width) {
            result += line + "\n";
            line = indent + word;
        } else {
            line += (line.empty() ? "" : " ") + word;
        }
    }
    return result + line;
}

} // namespace velk::program
