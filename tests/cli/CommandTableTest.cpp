#include "cli/CommandTable.h"

#include "cli/CommandLine.h"
#include "daemon/DaemonTable.h"
#include "platform/program/Completion.h"
#include "platform/program/ManualPage.h"
#include "platform/program/ProgramParser.h"
#include "testing/ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace velk::cli {
namespace {

using program::CommandRow;
using program::OptionRow;
using program::ProgramTable;

std::string helpOf(std::vector<const char*> words) {
    words.insert(words.begin(), "tess");
    words.push_back("--help");
    ::testing::internal::CaptureStdout();
    CommandLine{}.parse(static_cast<int>(words.size()), words.data());
    return ::testing::internal::GetCapturedStdout();
}

void expectIn(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " is not in:\n" << text;
}

/// What roff makes a hyphen of.
std::string inManual(std::string text) {
    for (std::size_t at = text.find('-'); at != std::string::npos; at = text.find('-', at + 2)) {
        text.insert(at, "\\");
    }
    return text;
}

std::vector<OptionRow> optionsOf(const CommandRow& command) {
    std::vector<OptionRow> options = command.options;
    options.insert(options.end(), commandTable().options.begin(), commandTable().options.end());
    return options;
}

/// Calls the bash function as the shell does, for each of `lines`: its candidates joined by blanks.
std::vector<std::string> bashCandidates(const std::vector<std::vector<std::string>>& lines,
                                        const std::string& script) {
    std::string program = script + "\ncompopt() { :; }\n";
    for (const auto& words : lines) {
        program += "COMP_WORDS=(";
        for (const std::string& word : words) {
            program += " '" + std::regex_replace(word, std::regex{"'"}, "'\\''") + "'";
        }
        program += "); COMP_CWORD=" + std::to_string(words.size() - 1) + "; _tess " + words.front() +
                   "; echo \" ${COMPREPLY[*]} \"\n";
    }
    velk::testing::ChildProcess bash{{"/bin/bash", "-c", program}, {"TESS_URL=sqlite:/nowhere/tess.db"}};
    EXPECT_EQ(bash.finish(), 0) << bash.errors();
    EXPECT_EQ(bash.errors(), "");
    std::istringstream output{bash.output()};
    std::vector<std::string> candidates;
    for (std::string line; std::getline(output, line);) {
        candidates.push_back(line);
    }
    EXPECT_EQ(candidates.size(), lines.size());
    candidates.resize(lines.size());
    return candidates;
}

TEST(CommandTableTest, EveryRowGoesSomewhere) {
    EXPECT_EQ(CommandLine{}.unusedRows(), std::vector<std::string>{});
}

TEST(CommandTableTest, EveryRowIsInTheHelp) {
    const std::string all = helpOf({});
    for (const CommandRow& command : commandTable().commands) {
        const std::string help = helpOf({command.name.c_str()});
        expectIn(help, command.text);
        EXPECT_EQ(all.find("  " + command.name + " ") == std::string::npos, command.isHidden) << command.name;
        for (const auto& argument : command.arguments) {
            expectIn(help, argument.name());
            expectIn(help, argument.text);
        }
        for (const OptionRow& option : command.options) {
            expectIn(help,
                     program::namesOf(option).front() + (option.value.empty() ? "" : " " + option.value));
            expectIn(help, option.text);
        }
        for (const auto& example : command.examples) {
            expectIn(help, example.line);
        }
    }
    for (const OptionRow& option : commandTable().options) {
        expectIn(all, program::namesOf(option).front());
    }
}

TEST(CommandTableTest, EveryRowIsInTheManual) {
    for (const ProgramTable* table : {&commandTable(), &daemon::daemonTable()}) {
        const std::string manual = program::manualPage(*table);
        for (const OptionRow& option : table->options) {
            expectIn(manual, inManual(program::namesOf(option).front()));
            expectIn(manual, inManual(option.text));
        }
        for (const CommandRow& command : table->commands) {
            const bool isThere = manual.find(".SS \"" + inManual(command.name) + "\"") != std::string::npos;
            EXPECT_EQ(isThere, !command.isHidden) << command.name;
            for (const OptionRow& option : command.options) {
                expectIn(manual, "\\fB" + inManual(program::namesOf(option).front()) + "\\fR");
                expectIn(manual, inManual(option.text));
            }
        }
        for (const auto& code : table->exitCodes) {
            expectIn(manual, "\\fB" + code.term + "\\fR\n" + inManual(code.text));
        }
    }
}

TEST(CommandTableTest, ManualsHaveTheDateOfTheirVersion) {
    EXPECT_THAT(program::manualPage(commandTable()),
                ::testing::ContainsRegex("^\\.TH TESS 1 \"20[0-9]{2}-[0-9]{2}-[0-9]{2}\" \"tess [0-9.]+\" "));
    EXPECT_THAT(program::manualPage(daemon::daemonTable()),
                ::testing::ContainsRegex("^\\.TH POWERDISTRIBUTIOND 8 \"20[0-9]{2}-[0-9]{2}-[0-9]{2}\" "));
}

TEST(CommandTableTest, ManualsAreCleanForTheFormatter) {
    for (const ProgramTable* table : {&commandTable(), &daemon::daemonTable()}) {
        velk::testing::ChildProcess groff{{"/usr/bin/groff", "-man", "-ww", "-z", "-Tascii"}};
        groff.write(program::manualPage(*table));
        groff.closeInput();
        EXPECT_EQ(groff.finish(), 0);
        EXPECT_EQ(groff.errors(), "");
    }
}

TEST(CommandTableTest, BashCompletesEveryCommandAndEveryOption) {
    std::vector<std::vector<std::string>> lines{{"tess", ""}};
    for (const CommandRow& command : commandTable().commands) {
        if (!command.isHidden) {
            lines.push_back({"tess", "--store", "x", command.name, "-"});
        }
    }
    const auto candidates = bashCandidates(lines, program::bashCompletion(commandTable()));
    std::size_t next = 0;
    for (const CommandRow& command : commandTable().commands) {
        const bool isOffered = candidates[0].find(" " + command.name + " ") != std::string::npos;
        EXPECT_EQ(isOffered, !command.isHidden) << command.name;
        if (command.isHidden) {
            continue;
        }
        const std::string& offered = candidates[++next];
        for (const OptionRow& option : optionsOf(command)) {
            for (const std::string& name : program::namesOf(option)) {
                EXPECT_NE(offered.find(" " + name + " "), std::string::npos)
                    << command.name << name << offered;
            }
        }
    }
}

TEST(CommandTableTest, BashKnowsWhereInTheLineItIs) {
    const auto candidates = bashCandidates({{"tess", "st"},
                                            {"tess", "completion", ""},
                                            {"tess", "completion", "z"},
                                            {"tess", "watch", "--interval", ""},
                                            {"tess", "--store", "sqlite", ":", "/x", "completion", "b"},
                                            {"tess", "watch", "--interval", "=", "5", "--e"},
                                            {"tess", "devices", ""}},
                                           program::bashCompletion(commandTable()));
    EXPECT_EQ(candidates, (std::vector<std::string>{" status ", " bash zsh fish ", " zsh ", "  ", " bash ",
                                                    " --every ", "  "}));
}

TEST(CommandTableTest, AShellAsksTheStoreThatWasTyped) {
    const std::string script =
        program::bashCompletion(commandTable()) + "\nasked() { printf '%s\\n' \"a b;c\" \"$*\"; }\n";
    const auto candidates =
        bashCandidates({{"asked", "--store", "redis", ":", "//h/s?x", "=", "1", "get", "I"},
                        {"asked", "--store", "=", "memory", ":", "x", "get", ""},
                        {"asked", "get", "--store", "'sqlite:/x'", "O"},
                        {"asked", "get", "'I"}},
                       script);
    EXPECT_EQ(candidates,
              (std::vector<std::string>{R"( a\ b\;c --store\ redis://h/s\?x=1\ complete-paths\ path\ I\  )",
                                        R"( a\ b\;c --store\ memory:x\ complete-paths\ path\ \  )",
                                        R"( a\ b\;c --store\ sqlite:/x\ complete-paths\ path\ O\  )",
                                        R"( a b;c complete-paths path I  )"}));
}

TEST(CommandTableTest, FishOffersPathsAsValuesOfOptionsAndAsksForThePartThatStandsBefore) {
    const std::string fish = program::fishCompletion(commandTable());
    expectIn(fish, "-n \"__tess_at events '*'\" -l path -x -a '(__tess_ask path)'");
    expectIn(fish, "$program (__tess_passed) complete-paths $argv[1] \"$word\" \"$words[-1]\"");
    expectIn(fish, "            case --store\n");
    expectIn(program::zshCompletion(commandTable()), "--store) passed=($words[i]");
}

TEST(CommandTableTest, TheDaemonHasCompletionsToo) {
    const auto candidates = bashCandidates(
        {{"powerdistributiond", "--c"}, {"powerdistributiond", "--check", "--m"}},
        "_tess() { _powerdistributiond \"$@\"; }\n" + program::bashCompletion(daemon::daemonTable()));
    EXPECT_EQ(candidates, (std::vector<std::string>{" --config --check --completion ", " --manual "}));
    expectIn(program::zshCompletion(daemon::daemonTable()), "    _arguments $common\n");
    expectIn(program::fishCompletion(daemon::daemonTable()),
             "complete -c powerdistributiond -l config -r -F");
    EXPECT_EQ(program::completionFor("zsh", daemon::daemonTable()),
              program::zshCompletion(daemon::daemonTable()));
}

TEST(CommandTableTest, ZshAndFishHaveEveryCommandAndEveryOption) {
    const std::string zsh = program::zshCompletion(commandTable());
    const std::string fish = program::fishCompletion(commandTable());
    for (const CommandRow& command : commandTable().commands) {
        if (command.isHidden) {
            continue;
        }
        expectIn(zsh, "'" + command.name + ":");
        expectIn(fish, "-a " + command.name + " -d ");
        for (const OptionRow& option : command.options) {
            const std::string name = program::namesOf(option).front();
            expectIn(zsh, name);
            expectIn(fish, "complete -c tess -n \"__tess_at " + command.name + " '*'\" " +
                               (name.starts_with("--") ? "-l " + name.substr(2) : "-s " + name.substr(1)));
        }
    }
}

TEST(CommandTableTest, WhatTheTableDoesNotHaveIsAMistakeOfTheProgram) {
    program::ProgramParser parser{commandTable()};
    bool flag = false;
    EXPECT_THROW(parser.command("nothing"), std::logic_error);
    EXPECT_THROW(parser.program().option("--nothing", flag), std::logic_error);
    EXPECT_THROW(parser.command("status").argument("PATH", flag), std::logic_error);
    EXPECT_EQ(parser.unused().front(), "--json");
}

TEST(CommandTableTest, TextIsWrappedBetweenWords) {
    EXPECT_EQ(program::wrapped("one two three", 7), "one two\nthree");
    EXPECT_EQ(program::wrapped("one two three", 7, "  "), "one two\n  three");
    EXPECT_EQ(program::wrapped("extraordinarily long", 5), "extraordinarily\nlong");
}

} // namespace
} // namespace velk::cli
