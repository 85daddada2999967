#pragma once

#include <string>
#include <vector>

namespace velk::program {

/// What a shell offers for an argument or for the value of an option.
enum class Offer {
    nothing,
    file,
    path,    ///< a path of the store, asked of the program itself
    part,    ///< likewise: only parts of the device
    setting, ///< likewise: only settings
    action,  ///< likewise: the actions of the part that stands before it
};

struct OptionRow {
    std::string names; ///< joined by commas, the long one first: "--follow,-f"
    std::string value; ///< the name of its value, "SECONDS"; empty for one that takes none
    std::string text;
    Offer offer{Offer::nothing};
};

struct ArgumentRow {
    std::string form; ///< "PATH"; "[PATH]" one that may be left out; "PATH..." one or more; "[PATH...]" any
    std::string text;
    Offer offer{Offer::nothing};
    std::vector<std::string> choices{}; ///< the words that are allowed; empty for any

    std::string name() const; ///< the form without brackets and dots
    bool isRequired() const { return form.front() != '['; }
    bool isRepeated() const { return form.find("...") != std::string::npos; }
};

struct ExampleRow {
    std::string line;
    std::string text;
};

struct CommandRow {
    std::string name;
    std::string text;
    std::vector<ArgumentRow> arguments{};
    std::vector<OptionRow> options{};
    std::vector<ExampleRow> examples{};
    bool isHidden{false}; ///< for programs: neither in the help nor offered

    const OptionRow* findOption(const std::string& name) const;
};

/// A word and what it means.
struct TermRow {
    std::string term;
    std::string text;
};

/// All that a program says of its command line: help, manual page and completions are made from it.
/// A plain value.
struct ProgramTable {
    std::string name;
    std::string text; ///< one sentence
    std::string version{};
    std::string date{};                 ///< of this version: "2026-11-21"
    int section{1};                     ///< of the manual
    std::vector<OptionRow> options{};   ///< understood with every command
    std::vector<CommandRow> commands{}; ///< none for a program that does one thing
    std::vector<std::string> notes{};   ///< paragraphs
    std::vector<TermRow> environment{};
    std::vector<TermRow> files{};
    std::vector<TermRow> exitCodes{};
    std::vector<std::string> seeAlso{}; ///< "tess(1)"

    const CommandRow* findCommand(const std::string& commandName) const;
    const OptionRow* findOption(const std::string& optionName) const;
};

/// "--follow,-f" as its names.
std::vector<std::string> namesOf(const OptionRow& option);

/// `text` in lines of at most `width` letters, each after the first behind `indent`.
std::string wrapped(const std::string& text, std::size_t width, const std::string& indent = "");

} // namespace velk::program
