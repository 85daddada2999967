#include "cli/CommandTable.h"

#include "platform/program/Completion.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace velk::cli {

namespace {

using program::Offer;

using Rows = std::vector<program::CommandRow>;

// clang-format off
/// What is in the store, and what happened.
Rows readingCommands() {
    return {
        {"status", "The device from feed to outlet in words, communication, active alarms"},
        {"tree", "The parts of the device with their values",
         {{"[PATH]", "A part, such as Outlets.7; . for the device; all without", Offer::part}},
         {{"--depth", "LEVELS", "Only so many levels of parts below it"},
          {"--full", "", "All values of all items, also of long collections"}},
         {{"tess tree Outlets.7", "One outlet whole"}}},
        {"get", "The values of paths",
         {{"PATH...", "Paths, also with wildcards, and devices", Offer::path}},
         {},
         {{"tess get 'Outlets.*.Measure.ActivePower'", "The power of every outlet"},
          {"tess get --json Status.Mode", "One value for a program"}}},
        {"explain", "Where one value comes from, how it is polled, its alarms",
         {{"PATH", "One path, such as Inputs.1.Measure.Voltage", Offer::path}}},
        {"devices", "The devices of the store"},
        {"channels", "The channels of the store with their types",
         {{"[PATH...]", "Paths, also with wildcards, and devices; all without", Offer::path}}},
        {"alarms", "The active alarms, or those that were raised and cleared",
         {},
         {{"--history", "", "Those that were raised and cleared, the newest last"},
          {"--since", "TIME", "Of the history: how long ago (90s, 15m, 1h, 2d) or a time; all without"},
          {"--path", "PATH", "Of the history: one path, also with wildcards, or a part", Offer::path}},
         {{"tess alarms --history --since 2d", "What was alarming within two days"}}},
        {"events", "What happened: alarms, writes, links that came and went, the device's own log",
         {},
         {{"--since", "TIME", "How long ago (90s, 15m, 1h, 2d) or a time; all without"},
          {"--path", "PATH", "One path, also with wildcards, or a part", Offer::path}},
         {{"tess events --since 1h", "The last hour in one list"},
          {"tess events --path 'Outlets.7.**'", "What concerned one outlet"}}},
        {"watch", "Changes as they come",
         {{"[PATH...]", "Paths, also with wildcards, and devices; all without", Offer::path}},
         {{"--interval", "SECONDS", "Seconds in which the changes of a path make one line (1)"},
          {"--deadband", "PERCENT", "Percent that a measure must have moved since its last line to make another (1)"},
          {"--all", "", "Each change for itself, as it comes, however small"},
          {"--every", "", "As --all, and also writes that change nothing"},
          {"--count", "NUMBER", "End after so many lines"},
          {"--for", "SECONDS", "End after so many seconds"}},
         {{"tess watch 'Inputs.**' --for 60", "What happens at the inputs within a minute"}}},
        {"logs", "The device's own event log, newest last",
         {},
         {{"-n", "NUMBER", "Only so many of the newest events; all without"},
          {"--follow,-f", "", "Also the events that come later"},
          {"--for", "SECONDS", "End following after so many seconds"}},
         {{"tess logs -n 20 --follow", "The newest twenty, and what comes"}}},
        {"history", "What one value was over time, drawn in the terminal",
         {{"PATH", "One path, such as Inputs.1.Measure.Voltage", Offer::path}},
         {{"--since", "TIME", "How long ago (90s, 15m, 1h, 2d) or a time (6h)"},
          {"--csv", "", "Values separated by commas, for other programs"},
          {"--points", "NUMBER", "Parts of the time, or newest changes; as many as the width shows, or all, without"}},
         {{"tess history Inputs.1.Measure.Voltage", "The last six hours"},
          {"tess history Status.Mode --since 7d --csv", "The changes of a week for a spreadsheet"}}},
    };
}

/// What the device is asked for, and the store as a whole.
Rows actingCommands() {
    return {
        {"set", "Asks the device to take a setting",
         {{"PATH", "A setting: Outlets.1.Setting.AutomaticSwitchOnDelay", Offer::setting},
          {"VALUE", "A number, yes or no, or the name of a state"}},
         {{"--timeout", "SECONDS", "Seconds to wait for the outcome (10)"},
          {"--force", "", "Also while the device is not connected"}},
         {{"tess set Outlets.1.Setting.AutomaticSwitchOnDelay 7", "Outlet 1 comes back after seven seconds"}}},
        {"do", "Starts an action of the device",
         {{"PATH", "A part of the device: Outlets.1; . for the device itself", Offer::part},
          {"ACTION", "Such as StartTest, SwitchOff", Offer::action}},
         {{"--delay", "SECONDS", "Seconds, for actions that take a delay (0)"},
          {"--yes", "", "A load may lose power: do not ask"},
          {"--timeout", "SECONDS", "Seconds to wait for the outcome (10)"},
          {"--force", "", "Also while the device is not connected"}},
         {{"tess do BackupSystem.PowerBank StartTest", "Tests the battery"}}},
        {"doctor", "What keeps the store from being right and fresh, and what to do about it",
         {},
         {{"--config", "FILE", "The daemon's configuration file; the one that it uses without", Offer::file}},
         {{"tess doctor", "Exit code 0 when there is no problem"}}},
        {"export", "Writes the whole store as one JSON document",
         {{"[FILE]", "Where to; the standard output without", Offer::file}},
         {},
         {{"tess export backup.json", "A file that is there whole or not at all"}}},
        {"import", "Fills an empty store from a document that export has written",
         {{"FILE", "From where; - for the standard input", Offer::file}},
         {},
         {{"tess --store sqlite:/tmp/copy.db import backup.json", "Makes a store that is as the first one was"}}},
    };
}

/// Help for the shell and for people.
Rows helpingCommands() {
    return {
        {"completion", "The completion of commands, options and paths for a shell",
         {{"SHELL", "bash, zsh or fish", Offer::nothing, {"bash", "zsh", "fish"}}},
         {},
         {{"source <(tess completion bash)", "Completes in this shell"}}},
        {"manual", "The manual page of tess, for man",
         {},
         {},
         {{"tess manual | man -l -", "Reads it"}}},
        {program::COMPLETING_COMMAND, "What may stand in place of a word, for the completion of a shell",
         {{"KIND", "path, part, setting or action"},
          {"[WORD]", "What is there of it"},
          {"[PART]", "For actions: of which part"}},
         {}, {}, true},
    };
}
// clang-format on

const Rows& commands() {
    static const Rows rows = [] {
        Rows all = readingCommands();
        for (Rows& more : std::array{actingCommands(), helpingCommands()}) {
            std::move(more.begin(), more.end(), std::back_inserter(all));
        }
        return all;
    }();
    return rows;
}

program::ProgramTable makeTable() {
    program::ProgramTable table;
    table.name = "tess";
    table.text = "Shows what the store of this machine knows of its power device, and asks the device for "
                 "settings and actions.";
    table.version = VELK_VERSION;
    table.date = VELK_DATE;
    table.options = {
        {"--json", "",
         "Answer for programs: one JSON document, or one object a line for watch and logs --follow"},
        {"--store", "URL", "URL of the store, such as sqlite:/var/lib/velk/tess.db"},
        {"--all-sites", "", "With status: a line for each store of the servers that the URL names"},
        {"--help,-h", "", "Print this help message and exit"},
        {"--version", "", "Print the version and exit"},
    };
    table.commands = commands();
    table.notes = {
        "Paths are the names that \"tess tree\" shows, joined by dots: Inputs.1.Measure.Voltage. In a path ? "
        "stands for one letter, * for any letters of one name and, as the last name, for everything below; "
        "** "
        "stands for any number of names. Quote them: tess get 'Outlets.*.Status.*'",
        "The store is the one that TESS_URL names, else the one of this machine.",
    };
    table.environment = {
        {"TESS_URL", "Which store: sqlite:PATH, memory:NAME or redis://HOST/SITE"},
        {"STATE_DIRECTORY, XDG_STATE_HOME, HOME", "Without TESS_URL: where the store of this machine lies"},
        {"NO_COLOR", "No colours, also on a terminal"},
        {"TZ", "The zone of the times that are shown"},
    };
    table.files = {
        {"$STATE_DIRECTORY/tess.db, $XDG_STATE_HOME/velk/tess.db, ~/.local/state/velk/tess.db",
         "The store without TESS_URL, in this order"},
        {"catalogue.d/*.json", "Beside the store: types, units, descriptions and states of further channels"},
    };
    table.exitCodes = {
        {"0", "done"},
        {"1", "refused or failed"},
        {"2", "usage"},
        {"3", "bad configuration"},
        {"4", "no such path"},
        {"5", "store unreachable"},
        {"6", "device not connected"},
        {"7", "timed out with the outcome unknown"},
    };
    table.seeAlso = {"powerdistributiond(8)"};
    return table;
}

} // namespace

const program::ProgramTable& commandTable() {
    static const program::ProgramTable table = makeTable();
    return table;
}

} // namespace velk::cli
