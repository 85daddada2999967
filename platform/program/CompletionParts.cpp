#include "platform/program/CompletionParts.h"

#include "platform/program/Completion.h"

namespace velk::program {

namespace {

void addPatterns(const std::string& prefix, const std::vector<OptionRow>& options,
                 std::vector<std::string>& patterns) {
    for (const OptionRow& option : options) {
        for (const std::string& name : namesOf(option)) {
            if (!option.value.empty()) {
                patterns.push_back(std::string{prefix}.append(":").append(name));
            }
        }
    }
}

} // namespace

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
    return text;
}

std::string forProgram(const char* script, const ProgramTable& table) {
    return replaced(replaced(script, "@PROGRAM@", table.name), "@ASK@", COMPLETING_COMMAND);
}

std::string forProgram(const char* script, const ProgramTable& table, const std::string& passed) {
    return replaced(forProgram(script, table), "@PASSED@", passed);
}

std::string joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

std::vector<const CommandRow*> shownCommands(const ProgramTable& table) {
    std::vector<const CommandRow*> shown;
    for (const CommandRow& command : table.commands) {
        if (!command.isHidden) {
            shown.push_back(&command);
        }
    }
    return shown;
}

void addOptionNames(const std::vector<OptionRow>& options, std::vector<std::string>& names) {
    for (const OptionRow& option : options) {
        for (const std::string& name : namesOf(option)) {
            names.push_back(name);
        }
    }
}

std::vector<std::string> patternsOfValued(const ProgramTable& table) {
    std::vector<std::string> patterns;
    addPatterns("*", table.options, patterns);
    for (const CommandRow* command : shownCommands(table)) {
        addPatterns(command->name, command->options, patterns);
    }
    return patterns;
}

std::string passedOn(const ProgramTable& table, const char* between) {
    std::vector<std::string> names;
    for (const OptionRow& option : table.options) {
        if (!option.value.empty() && option.offer == Offer::nothing) {
            for (const std::string& name : namesOf(option)) {
                names.push_back(name);
            }
        }
    }
    return names.empty() ? "''" : joined(names, between);
}

std::string placeOf(const CommandRow& command, const ArgumentRow& argument) {
    return argument.isRepeated() ? "*" : std::to_string(&argument - command.arguments.data());
}

} // namespace velk::program
