#include "platform/program/ProgramParser.h"

#include <algorithm>

namespace velk::program {

namespace {

constexpr std::size_t WIDTH = 100;
constexpr const char* HELP = "--help";
constexpr const char* VERSION = "--version";

std::string footerOf(const ProgramTable& table) {
    std::string footer;
    for (const std::string& note : table.notes) {
        footer += wrapped(note, WIDTH) + "\n\n";
    }
    constexpr char NO_BREAK = '\1';
    std::string codes = "Exit codes:";
    for (const TermRow& code : table.exitCodes) {
        codes += " " + code.term + NO_BREAK + code.text + (&code == &table.exitCodes.back() ? "." : ",");
    }
    codes = wrapped(codes, WIDTH);
    std::replace(codes.begin(), codes.end(), NO_BREAK, ' ');
    return footer + codes;
}

std::string footerOf(const CommandRow& command) {
    std::string footer;
    for (const ExampleRow& example : command.examples) {
        footer += (footer.empty() ? "Examples:" : "") + std::string{"\n  "} + example.line + "\n      " +
                  wrapped(example.text, WIDTH, "      ");
    }
    return footer;
}

} // namespace

ProgramParser::ProgramParser(const ProgramTable& described) :
    table{described}, root{described.text, described.name} {
    root.fallthrough();
    root.footer(footerOf(table));
    if (!table.commands.empty()) {
        root.require_subcommand(1);
    }
    if (const OptionRow* help = table.findOption(HELP)) {
        root.set_help_flag(help->names, help->text);
        used.insert(help);
    }
    if (const OptionRow* version = table.findOption(VERSION)) {
        root.set_version_flag(version->names, table.name + " " + table.version, version->text);
        used.insert(version);
    }
}

ProgramParser::Place ProgramParser::command(const std::string& name) {
    const CommandRow* row = table.findCommand(name);
    if (row == nullptr) {
        throw std::logic_error{"no command \"" + name + "\" in the table of " + table.name};
    }
    used.insert(row);
    CLI::App* app = root.add_subcommand(row->name, row->text);
    app->footer(footerOf(*row));
    if (row->isHidden) {
        app->group("");
    }
    return {*this, *app, row};
}

const OptionRow& ProgramParser::optionRow(const Place& place, const std::string& name) {
    const OptionRow* row = place.row == nullptr ? table.findOption(name) : place.row->findOption(name);
    if (row == nullptr) {
        throw std::logic_error{"no option \"" + name + "\" in the table of " + table.name};
    }
    used.insert(row);
    return *row;
}

const ArgumentRow& ProgramParser::argumentRow(const Place& place, const std::string& name) {
    if (place.row != nullptr) {
        for (const ArgumentRow& row : place.row->arguments) {
            if (row.name() == name) {
                used.insert(&row);
                return row;
            }
        }
    }
    throw std::logic_error{"no argument \"" + name + "\" in the table of " + table.name};
}

std::vector<std::string> ProgramParser::unused() const {
    std::vector<std::string> rows;
    const auto note = [&](const void* row, const std::string& name) {
        if (used.count(row) == 0) {
            rows.push_back(name);
        }
    };
    for (const OptionRow& option : table.options) {
        note(&option, option.names);
    }
    for (const CommandRow& command : table.commands) {
        note(&command, command.name);
        for (const ArgumentRow& argument : command.arguments) {
            note(&argument, command.name + " " + argument.form);
        }
        for (const OptionRow& option : command.options) {
            note(&option, command.name + " " + option.names);
        }
    }
    return rows;
}

} // namespace velk::program
