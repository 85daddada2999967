#include "platform/program/ManualPage.h"

#include <algorithm>
#include <cctype>

namespace velk::program {

namespace {

/// Text as roff prints it: a hyphen of an option is no hyphen of a word, and no line is taken for a request.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        if (letter == '\\') {
            result += "\\e";
        } else if (letter == '-') {
            result += "\\-";
        } else {
            result += letter;
        }
    }
    return (result.starts_with(".") || result.starts_with("'") ? "\\&" : "") + result;
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + escaped(text) + "\\fR";
}

std::string title(const std::string& text) {
    return ".SH " + text + "\n";
}

std::string entry(const std::string& tag, const std::string& text) {
    return ".TP\n" + tag + "\n" + escaped(text) + "\n";
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return text;
}

std::string optionEntry(const OptionRow& option) {
    std::string tag;
    for (const std::string& name : namesOf(option)) {
        tag += (tag.empty() ? "" : ", ") + bold(name);
    }
    return entry(tag + (option.value.empty() ? "" : " " + italic(option.value)), option.text);
}

std::string synopsisOf(const ProgramTable& table, const CommandRow& command) {
    std::string line = bold(table.name) + " " + bold(command.name);
    if (!command.options.empty()) {
        line += " [" + italic("OPTIONS") + "]";
    }
    for (const ArgumentRow& argument : command.arguments) {
        line += " " + italic(argument.form);
    }
    return line;
}

std::string synopsis(const ProgramTable& table) {
    if (table.commands.empty()) {
        return bold(table.name) + " [" + italic("OPTIONS") + "]\n";
    }
    std::string text;
    for (const CommandRow& command : table.commands) {
        if (!command.isHidden) {
            text += (text.empty() ? "" : ".br\n") + synopsisOf(table, command) + "\n";
        }
    }
    return text;
}

std::string commandSection(const ProgramTable& table, const CommandRow& command) {
    std::string text = ".SS \"" + escaped(command.name) + "\"\n" + synopsisOf(table, command) + "\n.PP\n" +
                       escaped(command.text) + ".\n";
    for (const ArgumentRow& argument : command.arguments) {
        text += entry(italic(argument.name()), argument.text);
    }
    for (const OptionRow& option : command.options) {
        text += optionEntry(option);
    }
    return text;
}

std::string examples(const ProgramTable& table) {
    std::string text;
    for (const CommandRow& command : table.commands) {
        for (const ExampleRow& example : command.examples) {
            text += entry(bold(example.line), example.text);
        }
    }
    return text.empty() ? "" : title("EXAMPLES") + text;
}

std::string terms(const std::string& heading, const std::vector<TermRow>& rows) {
    std::string text = rows.empty() ? "" : title(heading);
    for (const TermRow& row : rows) {
        text += entry(bold(row.term), row.text);
    }
    return text;
}

std::string references(const ProgramTable& table) {
    std::string text;
    for (const std::string& page : table.seeAlso) {
        const auto bracket = page.find('(');
        text += (text.empty() ? "" : ",\n") + bold(page.substr(0, bracket)) + page.substr(bracket);
    }
    return text.empty() ? "" : title("SEE ALSO") + text + "\n";
}

} // namespace

std::string manualPage(const ProgramTable& table) {
    std::string page = ".TH " + upper(table.name) + " " + std::to_string(table.section) + " \"" + table.date +
                       "\" \"" + table.name + " " + table.version + "\" \"Power distribution\"\n";
    // Commands and options are copied from here: no word is broken, no margin filled up with blanks.
    page += ".nh\n.ad l\n";
    page += title("NAME") + escaped(table.name) + " \\- " + escaped(table.text) + "\n";
    page += title("SYNOPSIS") + synopsis(table);
    page += title("DESCRIPTION");
    for (std::size_t i = 0; i < table.notes.size(); ++i) {
        page += (i == 0 ? "" : ".PP\n") + escaped(table.notes[i]) + "\n";
    }
    page += title("OPTIONS");
    for (const OptionRow& option : table.options) {
        page += optionEntry(option);
    }
    page += table.commands.empty() ? "" : title("COMMANDS");
    for (const CommandRow& command : table.commands) {
        page += command.isHidden ? "" : commandSection(table, command);
    }
    return page + examples(table) + terms("ENVIRONMENT", table.environment) + terms("FILES", table.files) +
           terms("EXIT STATUS", table.exitCodes) + references(table);
}

} // namespace velk::program
