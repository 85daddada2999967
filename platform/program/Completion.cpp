#include "platform/program/Completion.h"

#include "platform/program/CompletionParts.h"

#include <vector>

namespace velk::program {

namespace {

// bash

constexpr const char* BASH_HEAD = R"sh(# bash completion of @PROGRAM@, made from the table of its commands

_@PROGRAM@_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

_@PROGRAM@_files() {
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    compopt -o filenames 2>/dev/null
}

_@PROGRAM@_ask() {
    local candidate quoted
    local -a found=()
    mapfile -t found < <("$program" "${passed[@]}" @ASK@ "$1" "$current" "$2" 2>/dev/null)
    for candidate in "${found[@]}"; do
        # Within quotes it stands as it is.
        [[ -n $quote ]] && quoted=$candidate || printf -v quoted %q "$candidate"
        COMPREPLY+=("$quoted")
    done
    if [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *. ]]; then
        compopt -o nospace 2>/dev/null
    fi
}

_@PROGRAM@() {
    local program=$1 current=${COMP_WORDS[COMP_CWORD]} command= option= before= place=0 word quote= taken= i
    local -a passed=()
    COMPREPLY=()
    [[ $current == [\"\']* ]] && quote=${current:0:1}
    current=${current#[\"\']}
    [[ -n $quote ]] || current=${current//\\/}
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        # The shell breaks words at these; what stands behind belongs to the word before.
        if [[ -n $word && $word != *[!:=]* ]]; then
            ((i++))
            if [[ -n $option ]]; then
                case $option in
                @PASSED@) passed=("$option" "${COMP_WORDS[i]//[\"\']/}"); taken=yes ;;
                esac
            elif [[ -n $taken ]]; then
                passed[1]+=$word${COMP_WORDS[i]//[\"\']/}
            fi
            option=
            continue
        fi
        taken=
        if [[ -n $option ]]; then
            case $option in
            @PASSED@) passed=("$option" "${word//[\"\']/}"); taken=yes ;;
            esac
            option=
            continue
        fi
        case $command:$word in
)sh";

constexpr const char* BASH_WALK = R"sh() option=$word ;;
        *:-*) ;;
        :*) command=$word ;;
        *) before=$word; ((++place)) ;;
        esac
    done
)sh";

constexpr const char* BASH_TAIL = R"sh(    esac
}

complete -F _@PROGRAM@ @PROGRAM@
)sh";

std::string bashOptions(const ProgramTable& table) {
    std::vector<std::string> common;
    addOptionNames(table.options, common);
    std::string text = "    case $command:$current in\n";
    for (const CommandRow* command : shownCommands(table)) {
        std::vector<std::string> names;
        addOptionNames(command->options, names);
        names.insert(names.end(), common.begin(), common.end());
        text += "    " + command->name + ":-*) _" + table.name + "_words '" + joined(names, " ") +
                "'; return ;;\n";
    }
    return text + "    *:-*) _" + table.name + "_words '" + joined(common, " ") + "'; return ;;\n    esac\n";
}

std::string bashAction(const ProgramTable& table, Offer offer) {
    if (offer == Offer::nothing) {
        return ":";
    }
    return "_" + table.name + (offer == Offer::file ? "_files" : "_ask " + kindOf(offer) + " \"$before\"");
}

std::string bashOptionValues(const ProgramTable& table) {
    std::string text = "    if [[ -n $option ]]; then\n        case $command:$option in\n";
    const auto add = [&](const std::string& prefix, const std::vector<OptionRow>& options) {
        for (const OptionRow& option : options) {
            if (option.offer == Offer::nothing) {
                continue;
            }
            const std::string action = bashAction(table, option.offer);
            for (const std::string& name : namesOf(option)) {
                text.append("        ").append(prefix).append(":").append(name);
                text.append(") ").append(action).append(" ;;\n");
            }
        }
    };
    add("*", table.options);
    for (const CommandRow* command : shownCommands(table)) {
        add(command->name, command->options);
    }
    return text + "        *) ;;\n        esac\n        return\n    fi\n";
}

std::string bashArguments(const ProgramTable& table) {
    std::vector<std::string> names;
    std::string text;
    for (const CommandRow* command : shownCommands(table)) {
        names.push_back(command->name);
        for (const ArgumentRow& argument : command->arguments) {
            const std::string action = argument.choices.empty() ? bashAction(table, argument.offer)
                                                                : "_" + table.name + "_words '" +
                                                                      joined(argument.choices, " ") + "'";
            text += "    " + command->name + ":" + placeOf(*command, argument) + ") " + action + " ;;\n";
        }
    }
    return "    case $command:$place in\n    :*) _" + table.name + "_words '" + joined(names, " ") +
           "' ;;\n" + text;
}

// zsh

constexpr const char* ZSH_HEAD = R"sh(#compdef @PROGRAM@
# zsh completion of @PROGRAM@, made from the table of its commands

_@PROGRAM@_ask() {
    local -a found
    found=(${(f)"$($program $passed @ASK@ "$1" "$PREFIX" "$2" 2>/dev/null)"})
    compadd -S '' -- ${(M)found:#*.}
    compadd -- ${found:#*.}
}

_@PROGRAM@() {
    local program=$words[1] curcontext=$curcontext state line i
    local -a commands common passed
    for ((i = 2; i < CURRENT; i++)); do
        case $words[i] in
        @PASSED@) passed=($words[i] ${(Q)words[i+1]}) ;;
        --*=*) case ${words[i]%%=*} in @PASSED@) passed=(${(Q)words[i]}) ;; esac ;;
        esac
    done
)sh";

constexpr const char* ZSH_TAIL = R"sh(        esac ;;
    esac
)sh";

constexpr const char* ZSH_END = R"sh(}

if [[ $funcstack[1] == _@PROGRAM@ ]]; then
    _@PROGRAM@ "$@"
else
    compdef _@PROGRAM@ @PROGRAM@
fi
)sh";

std::string zshText(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        if (letter == '[' || letter == ']' || letter == ':' || letter == '\\') {
            result += '\\';
        }
        result += letter;
    }
    return replaced(result, "'", "'\\''");
}

std::string zshAction(const ProgramTable& table, Offer offer) {
    // Behind a blank an action is called with its own words alone.
    const std::string ask = " _" + table.name + "_ask ";
    switch (offer) {
    case Offer::nothing:
        return " ";
    case Offer::file:
        return "_files";
    case Offer::action:
        return ask + "action $line[1]";
    default:
        return ask + kindOf(offer);
    }
}

std::string zshOption(const ProgramTable& table, const OptionRow& option) {
    const auto names = namesOf(option);
    const std::string value =
        option.value.empty() ? "" : ":" + option.value + ":" + zshAction(table, option.offer);
    const std::string rest = "[" + zshText(option.text) + "]" + value + "'";
    if (names.size() == 1) {
        return "'" + names.front() + rest;
    }
    return "'(" + joined(names, " ") + ")'{" + joined(names, ",") + "}'" + rest;
}

std::string zshArgument(const ProgramTable& table, const CommandRow& command, const ArgumentRow& argument) {
    const std::string number =
        argument.isRepeated() ? "*" : std::to_string(&argument - command.arguments.data() + 1);
    const std::string optional = !argument.isRepeated() && !argument.isRequired() ? ":" : "";
    const std::string action = argument.choices.empty() ? zshAction(table, argument.offer)
                                                        : "(" + joined(argument.choices, " ") + ")";
    return "'" + number + ":" + optional + argument.name() + ":" + action + "'";
}

std::string zshCommand(const ProgramTable& table, const CommandRow& command) {
    std::string text = "        " + command.name + ") _arguments $common";
    for (const OptionRow& option : command.options) {
        text += " \\\n            " + zshOption(table, option);
    }
    for (const ArgumentRow& argument : command.arguments) {
        text += " \\\n            " + zshArgument(table, command, argument);
    }
    return text + " ;;\n";
}

} // namespace

std::string kindOf(Offer offer) {
    switch (offer) {
    case Offer::path:
        return "path";
    case Offer::part:
        return "part";
    case Offer::setting:
        return "setting";
    case Offer::action:
        return "action";
    default:
        return "";
    }
}

std::string completionFor(const std::string& shell, const ProgramTable& table) {
    if (shell == "bash") {
        return bashCompletion(table);
    }
    return shell == "zsh" ? zshCompletion(table) : shell == "fish" ? fishCompletion(table) : "";
}

std::string bashCompletion(const ProgramTable& table) {
    return forProgram(BASH_HEAD, table, passedOn(table, " | ")) + "        " +
           joined(patternsOfValued(table), " | ") + BASH_WALK + bashOptionValues(table) + bashOptions(table) +
           bashArguments(table) + forProgram(BASH_TAIL, table);
}

std::string zshCompletion(const ProgramTable& table) {
    std::string script = forProgram(ZSH_HEAD, table, passedOn(table, " | ")) + "    commands=(\n";
    for (const CommandRow* command : shownCommands(table)) {
        script += "        '" + command->name + ":" + zshText(command->text) + "'\n";
    }
    script += "    )\n    common=(\n";
    for (const OptionRow& option : table.options) {
        script += "        " + zshOption(table, option) + "\n";
    }
    if (table.commands.empty()) {
        return script + "    )\n    _arguments $common\n" + forProgram(ZSH_END, table);
    }
    script += "    )\n    _arguments -C $common '1:command:->command' '*::argument:->argument'\n"
              "    case $state in\n    command) _describe command commands ;;\n"
              "    argument)\n        case $words[1] in\n";
    for (const CommandRow* command : shownCommands(table)) {
        script += zshCommand(table, *command);
    }
    return script + ZSH_TAIL + forProgram(ZSH_END, table);
}

} // namespace velk::program
