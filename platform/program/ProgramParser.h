#pragma once

#include "platform/program/ProgramTable.h"

#include <CLI/CLI.hpp>
#include <set>
#include <stdexcept>
#include <string>

namespace velk::program {

/// A parser for the command line that a table describes: its help, its names and what may be left out come
/// from the table; where the values go is told here, row by row.
///
/// A row that the table does not have throws std::logic_error: the table is wrong, or the caller.
class ProgramParser {
public:
    /// One command, or the program itself.
    class Place {
    public:
        /// `value` takes what stands behind the option, or true for one that takes nothing.
        template <typename T>
        CLI::Option* option(const std::string& name, T& value) {
            const OptionRow& row = parser->optionRow(*this, name);
            if (row.value.empty()) {
                return app->add_flag(row.names, value, row.text);
            }
            return app->add_option(row.names, value, row.text)->type_name(row.value);
        }

        template <typename T>
        CLI::Option* argument(const std::string& name, T& value) {
            const ArgumentRow& row = parser->argumentRow(*this, name);
            CLI::Option* made = app->add_option(row.name(), value, row.text)->type_name("");
            if (!row.choices.empty()) {
                made->check(CLI::IsMember(row.choices));
            }
            return made->required(row.isRequired());
        }

        /// What is done when this is the command that was given.
        template <typename Action>
        void chosen(Action action) {
            app->callback(action);
        }

    private:
        friend class ProgramParser;
        Place(ProgramParser& owner, CLI::App& parsing, const CommandRow* described) :
            parser{&owner}, app{&parsing}, row{described} {}

        ProgramParser* parser;
        CLI::App* app;
        const CommandRow* row; ///< null for the program itself
    };

    /// `described` outlives the parser.
    explicit ProgramParser(const ProgramTable& described);
    ProgramParser(const ProgramParser&) = delete;
    ProgramParser& operator=(const ProgramParser&) = delete;

    Place program() { return {*this, root, nullptr}; }
    Place command(const std::string& name);

    /// Throws CLI::ParseError, also for a wish for help.
    void parse(int argc, const char* const* argv) { root.parse(argc, argv); }
    /// Prints the help or what is wrong; 0 for help.
    int exit(const CLI::ParseError& error) const { return root.exit(error); }

    /// Rows of the table that nobody takes: "watch --interval".
    std::vector<std::string> unused() const;

private:
    const OptionRow& optionRow(const Place& place, const std::string& name);
    const ArgumentRow& argumentRow(const Place& place, const std::string& name);

    const ProgramTable& table;
    CLI::App root;
    std::set<const void*> used;
};

} // namespace velk::program
