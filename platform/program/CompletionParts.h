#pragma once

#include "platform/program/ProgramTable.h"

#include <string>
#include <vector>

/// What the completions for all shells are put together from.
namespace velk::program {

std::string replaced(std::string text, const std::string& what, const std::string& by);
std::string joined(const std::vector<std::string>& words, const char* between);

/// A template with the program's name in it.
std::string forProgram(const char* script, const ProgramTable& table);
/// Likewise, with `passed` in place of the options that go with a question.
std::string forProgram(const char* script, const ProgramTable& table, const std::string& passed);

std::vector<const CommandRow*> shownCommands(const ProgramTable& table);
void addOptionNames(const std::vector<OptionRow>& options, std::vector<std::string>& names);

/// "COMMAND:OPTION" for each option that takes a value; "*:OPTION" for those of the program itself.
std::vector<std::string> patternsOfValued(const ProgramTable& table);

/// The options of the program itself that take a value, as cases of a shell: what they say, such as the
/// store, holds for questions too.
std::string passedOn(const ProgramTable& table, const char* between);

/// Where an argument stands: its number among those of its command, "*" from then on.
std::string placeOf(const CommandRow& command, const ArgumentRow& argument);

} // namespace velk::program
