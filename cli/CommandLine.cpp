#include "cli/CommandLine.h"

#include "cli/AlarmsCommand.h"
#include "cli/ChannelsCommand.h"
#include "cli/DevicesCommand.h"
#include "cli/EditDistance.h"
#include "cli/ExplainCommand.h"
#include "cli/GetCommand.h"
#include "cli/SetCommand.h"
#include "cli/StatusCommand.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <iostream>

namespace velk::cli {

namespace {

constexpr const char* FOOTER =
    "Paths are the names that \"tess tree\" shows, joined by dots: Inputs.1.Measure.Voltage. In a path ?\n"
    "stands for one letter, * for any letters of one name and, as the last name, for everything below; **\n"
    "stands for any number of names. Quote them: tess get 'Outlets.*.Status.*'\n\n"
    "The store is the one that TESS_URL names, else the one of this machine.\n\n"
    "Exit codes: 0 done, 1 refused or failed, 2 usage, 3 bad configuration, 4 no such path, 5 store\n"
    "unreachable, 6 device not connected, 7 timed out with the outcome unknown.";

constexpr double LONGEST_WAIT_SECONDS = 86'400.0;

} // namespace

CommandLine::CommandLine() :
    app{std::make_unique<CLI::App>("Shows what the store of this machine knows of its power device, and asks "
                                   "the device for settings and actions.",
                                   "tess")} {
    app->require_subcommand(1);
    app->fallthrough();
    app->footer(FOOTER);
    app->add_flag("--json", json,
                  "Answer for programs: one JSON document, or one object a line for watch and logs --follow");
    app->add_option("--store", store, "URL of the store, such as sqlite:/var/lib/velk/tess.db");
    addLookingCommands();
    addWatch();
    addLogs();
    addSet();
    addDo();
}

CommandLine::~CommandLine() = default;

void CommandLine::addLookingCommands() {
    app->add_subcommand("status", "The device from feed to outlet in words, communication, active alarms")
        ->callback([this] { command = runStatus; });
    CLI::App* branches = app->add_subcommand("tree", "The parts of the device with their values");
    branches->add_option("PATH", tree.path, "A part, such as Outlets.7; . for the device; all without");
    branches->add_option("--depth", tree.depth, "Only so many levels of parts below it");
    branches->add_flag("--full", tree.full, "All values of all items, also of long collections");
    branches->callback([this] { command = [this](Session& session) { return runTree(session, tree); }; });
    CLI::App* get = app->add_subcommand("get", "The values of paths");
    get->add_option("PATH", paths, "Paths, also with wildcards, and devices")->required();
    get->callback([this] { command = [this](Session& session) { return runGet(session, paths); }; });
    CLI::App* explain =
        app->add_subcommand("explain", "Where one value comes from, how it is polled, its alarms");
    explain->add_option("PATH", path, "One path, such as Inputs.1.Measure.Voltage")->required();
    explain->callback([this] { command = [this](Session& session) { return runExplain(session, path); }; });
    app->add_subcommand("devices", "The devices of the store")->callback([this] { command = runDevices; });
    CLI::App* channels = app->add_subcommand("channels", "The channels of the store with their types");
    channels->add_option("PATH", paths, "Paths, also with wildcards, and devices; all without");
    channels->callback(
        [this] { command = [this](Session& session) { return runChannels(session, paths); }; });
    app->add_subcommand("alarms", "The active alarms")->callback([this] { command = runAlarms; });
}

void CommandLine::addWatch() {
    CLI::App* where = app->add_subcommand("watch", "Changes as they come");
    where->add_option("PATH", watch.paths, "Paths, also with wildcards, and devices; all without");
    where
        ->add_option("--interval", watch.interval, "Seconds in which the changes of a path make one line (1)")
        ->check(CLI::Range(0.0, LONGEST_WAIT_SECONDS));
    where
        ->add_option("--deadband", watch.deadband,
                     "Percent that a measure must have moved since its last line to make another (1)")
        ->check(CLI::Range(0.0, 1000.0));
    where->add_flag("--all", watch.all, "Each change for itself, as it comes, however small");
    where->add_flag("--every", watch.every, "As --all, and also writes that change nothing");
    where->add_option("--count", watch.count, "End after so many lines");
    where->add_option("--for", watch.seconds, "End after so many seconds")
        ->check(CLI::Range(0.0, LONGEST_WAIT_SECONDS));
    where->callback([this] { command = [this](Session& session) { return runWatch(session, watch); }; });
}

void CommandLine::addLogs() {
    CLI::App* where = app->add_subcommand("logs", "The device's own event log, newest last");
    where->add_option("-n", logs.newest, "Only so many of the newest events; all without");
    where->add_flag("--follow,-f", logs.follow, "Also the events that come later");
    where->add_option("--for", logs.seconds, "End following after so many seconds")
        ->check(CLI::Range(0.0, LONGEST_WAIT_SECONDS));
    where->callback([this] { command = [this](Session& session) { return runLogs(session, logs); }; });
}

void CommandLine::addRequestOptions(CLI::App& where) {
    where.add_option("--timeout", timeoutSeconds, "Seconds to wait for the outcome (10)")
        ->check(CLI::Range(0.0, LONGEST_WAIT_SECONDS));
    where.add_flag("--force", request.force, "Also while the device is not connected");
}

void CommandLine::addSet() {
    CLI::App* where = app->add_subcommand("set", "Asks the device to take a setting");
    where->add_option("PATH", path, "A setting: Outlets.1.Setting.AutomaticSwitchOnDelay")->required();
    where->add_option("VALUE", value, "A number, yes or no, or the name of a state")->required();
    addRequestOptions(*where);
    where->callback(
        [this] { command = [this](Session& session) { return runSet(session, path, value, request); }; });
}

void CommandLine::addDo() {
    CLI::App* where = app->add_subcommand("do", "Starts an action of the device");
    where->add_option("PATH", path, "A part of the device: Outlets.1; . for the device itself")->required();
    where->add_option("ACTION", action, "Such as StartTest, SwitchOff")->required();
    where->add_option("--delay", delaySeconds, "Seconds, for actions that take a delay (0)")
        ->check(CLI::NonNegativeNumber);
    where->add_flag("--yes", request.yes, "A load may lose power: do not ask");
    addRequestOptions(*where);
    where->callback([this] {
        command = [this](Session& session) { return runDo(session, path, action, delaySeconds, request); };
    });
}

bool CommandLine::sayNearestCommand(const std::string& word) const {
    std::vector<std::string> names;
    for (const CLI::App* command : app->get_subcommands({})) {
        names.push_back(command->get_name());
    }
    if (word.starts_with("-") || std::find(names.begin(), names.end(), word) != names.end()) {
        return false;
    }
    const std::string near = nearest(word, names);
    std::cerr << "tess: no such command: \"" << word << "\""
              << (near.empty() ? "; tess --help names them" : "; did you mean \"" + near + "\"?") << "\n";
    return true;
}

std::optional<ExitCode> CommandLine::parse(int argc, const char* const* argv) {
    try {
        app->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0 && argc > 1 && sayNearestCommand(argv[1])) {
            return ExitCode::Usage;
        }
        return app->exit(error) == 0 ? ExitCode::Done : ExitCode::Usage;
    }
    request.timeout = std::chrono::duration_cast<velk::common::Clock::Duration>(
        std::chrono::duration<double>{timeoutSeconds});
    return std::nullopt;
}

} // namespace velk::cli
