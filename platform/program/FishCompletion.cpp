#include "platform/program/Completion.h"
#include "platform/program/CompletionParts.h"

namespace velk::program {

namespace {

constexpr const char* FISH_HEAD = R"sh(# fish completion of @PROGRAM@, made from the table of its commands

# The command and its arguments, as far as they have been typed, without options
function __@PROGRAM@_words
    set -l command ''
    set -l skip 0
    for word in (commandline -opc)[2..]
        if test $skip = 1
            set skip 0
            continue
        end
        switch "$command:$word"
            case )sh";

constexpr const char* FISH_WALK = R"sh(
                set skip 1
            case '*:-*'
            case ':*'
                set command $word
                printf '%s\n' $word
            case '*'
                printf '%s\n' $word
        end
    end
end

# __@PROGRAM@_at COMMAND PLACE: whether this argument of this command is being typed, any of them for '*'
function __@PROGRAM@_at
    set -l words (__@PROGRAM@_words)
    set -l command ''
    set -l place 0
    if set -q words[1]
        set command $words[1]
        set place (math (count $words) - 1)
    end
    test "$command" = "$argv[1]"; and contains -- "$argv[2]" '*' $place
end

# The options that say which store is asked
function __@PROGRAM@_passed
    set -l option ''
    for word in (commandline -opc)[2..]
        if test -n "$option"
            printf '%s\n' $option $word
            set option ''
            continue
        end
        switch $word
            case @PASSED@
                set option $word
            case '--*=*'
                contains -- (string split -m1 = -- $word)[1] @PASSED@; and printf '%s\n' $word
        end
    end
end

function __@PROGRAM@_ask
    set -l program (commandline -opc)[1]
    set -l word (commandline -ct)
    set -l words (__@PROGRAM@_words)
    $program (__@PROGRAM@_passed) @ASK@ $argv[1] "$word" "$words[-1]" 2>/dev/null
end

complete -c @PROGRAM@ -f
)sh";

std::string fishQuoted(const std::string& text) {
    return "'" + replaced(replaced(text, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string fishOption(const ProgramTable& table, const OptionRow& option, const std::string& condition) {
    std::string text = "complete -c " + table.name + condition;
    for (const std::string& name : namesOf(option)) {
        text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!option.value.empty()) {
        text += option.offer == Offer::file ? " -r -F" : " -x";
    }
    if (!kindOf(option.offer).empty()) {
        text += " -a '(__" + table.name + "_ask " + kindOf(option.offer) + ")'";
    }
    return text + " -d " + fishQuoted(option.text) + "\n";
}

std::string fishArgument(const ProgramTable& table, const CommandRow& command, const ArgumentRow& argument) {
    const std::string head = "complete -c " + table.name + " -n \"__" + table.name + "_at " + command.name +
                             " '" + placeOf(command, argument) + "'\"";
    if (!argument.choices.empty()) {
        return head + " -a " + fishQuoted(joined(argument.choices, " ")) + "\n";
    }
    if (argument.offer == Offer::nothing) {
        return "";
    }
    return head + (argument.offer == Offer::file
                       ? " -F\n"
                       : " -a '(__" + table.name + "_ask " + kindOf(argument.offer) + ")'\n");
}

} // namespace

std::string fishCompletion(const ProgramTable& table) {
    std::string script = forProgram(FISH_HEAD, table);
    for (const std::string& pattern : patternsOfValued(table)) {
        script += "'" + pattern + "' ";
    }
    script += forProgram(FISH_WALK, table, passedOn(table, " "));
    for (const OptionRow& option : table.options) {
        script += fishOption(table, option, "");
    }
    for (const CommandRow* command : shownCommands(table)) {
        script += "complete -c " + table.name + " -n \"__" + table.name + "_at '' 0\" -a " + command->name +
                  " -d " + fishQuoted(command->text) + "\n";
        for (const OptionRow& option : command->options) {
            script += fishOption(table, option, " -n \"__" + table.name + "_at " + command->name + " '*'\"");
        }
        for (const ArgumentRow& argument : command->arguments) {
            script += fishArgument(table, *command, argument);
        }
    }
    return script;
}

} // namespace velk::program
