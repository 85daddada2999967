#include "cli/CommandLine.h"

#include "cli/AlarmsCommand.h"
#include "cli/AllSitesCommand.h"
#include "cli/ChannelsCommand.h"
#include "cli/CommandTable.h"
#include "cli/CompletionCommand.h"
#include "cli/DevicesCommand.h"
#include "cli/DoctorCommand.h"
#include "cli/EditDistance.h"
#include "cli/ExplainCommand.h"
#include "cli/ExportCommand.h"
#include "cli/GetCommand.h"
#include "cli/SetCommand.h"
#include "cli/StatusCommand.h"
#include "platform/program/Completion.h"
#include "platform/program/ProgramParser.h"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>

namespace velk::cli {

namespace {

constexpr double LONGEST_WAIT_SECONDS = 86'400.0;

/// Nothing is not something to be named.
std::string notEmpty(const std::string& text) {
    return text.empty() ? "expected something, not \"\"" : "";
}

std::string wholeNumber(const std::string& text) {
    constexpr std::size_t mostDigits = 9;
    const bool isOne = !text.empty() && text.size() <= mostDigits &&
                       text.find_first_not_of("0123456789") == std::string::npos;
    return isOne ? "" : "expected a whole number from 0 to 999999999, not " + text;
}

/// A check of a number between two; what is no number in the sense of arithmetic is not between them.
std::function<std::string(const std::string&)> numberUpTo(double most) {
    return [most](const std::string& text) -> std::string {
        char* end = nullptr;
        const double number = std::strtod(text.c_str(), &end);
        if (!text.empty() && *end == '\0' && number >= 0.0 && number <= most) {
            return "";
        }
        return "expected a number from 0 to " + std::to_string(static_cast<long>(most)) + ", not " + text;
    };
}

/// Of what is no command line for all of it: the first word that nobody knows, else what the parser says.
std::string complaintOf(int argc, const char* const* argv, const std::string& otherwise) {
    const program::ProgramTable& table = commandTable();
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (!word.starts_with("-")) {
            std::vector<std::string> names;
            for (const program::CommandRow& row : table.commands) {
                names.push_back(row.name);
            }
            const std::string near = nearest(word, names);
            return table.findCommand(word) != nullptr
                       ? otherwise
                       : "no such command: \"" + word + "\"" +
                             (near.empty() ? "; tess --help names them" : "; did you mean \"" + near + "\"?");
        }
        const program::OptionRow* option = table.findOption(word.substr(0, word.find('=')));
        if (option == nullptr) {
            return "no such option before a command: \"" + word + "\"; tess --help names them";
        }
        const bool takesNext = !option->value.empty() && word.find('=') == std::string::npos;
        if (takesNext && i + 1 == argc) {
            return otherwise;
        }
        i += takesNext ? 1 : 0;
    }
    return "no command; tess --help names them";
}

} // namespace

CommandLine::CommandLine() : parser{std::make_unique<program::ProgramParser>(commandTable())} {
    auto all = parser->program();
    all.option("--json", json);
    all.option("--store", store)->check(notEmpty);
    all.option("--all-sites", allSites);
    addLookingCommands();
    addEvents();
    addHistory();
    addWatch();
    addLogs();
    addSet();
    addDo();
    addWholeStoreCommands();
    addShellCommands();
}

CommandLine::~CommandLine() = default;

void CommandLine::addLookingCommands() {
    parser->command("status").chosen([this] {
        command = runStatus;
        allSitesCommand = runAllSitesStatus;
    });
    auto branches = parser->command("tree");
    branches.argument("PATH", tree.path);
    branches.option("--depth", tree.depth);
    branches.option("--full", tree.full);
    branches.chosen([this] { command = [this](Session& session) { return runTree(session, tree); }; });
    auto get = parser->command("get");
    get.argument("PATH", paths);
    get.chosen([this] { command = [this](Session& session) { return runGet(session, paths); }; });
    auto explain = parser->command("explain");
    explain.argument("PATH", path);
    explain.chosen([this] { command = [this](Session& session) { return runExplain(session, path); }; });
    parser->command("devices").chosen([this] { command = runDevices; });
    auto channels = parser->command("channels");
    channels.argument("PATH", paths);
    channels.chosen([this] { command = [this](Session& session) { return runChannels(session, paths); }; });
}

void CommandLine::addEvents() {
    auto raised = parser->command("alarms");
    auto* const wantsHistory = raised.option("--history", showsHistory);
    raised.option("--since", alarmHistory.since)->needs(wantsHistory)->check(notEmpty);
    raised.option("--path", alarmHistory.path)->needs(wantsHistory);
    raised.chosen([this] {
        command = [this](Session& session) {
            return showsHistory ? runAlarmHistory(session, alarmHistory) : runAlarms(session);
        };
    });
    auto all = parser->command("events");
    all.option("--since", events.since)->check(notEmpty);
    all.option("--path", events.path);
    all.chosen([this] { command = [this](Session& session) { return runEvents(session, events); }; });
}

void CommandLine::addHistory() {
    auto past = parser->command("history");
    past.argument("PATH", history.path);
    past.option("--since", history.since)->check(notEmpty);
    past.option("--csv", history.csv);
    past.option("--points", history.points)->check(CLI::Range(1U, HistoryOptions::MOST_POINTS));
    past.chosen([this] { command = [this](Session& session) { return runHistory(session, history); }; });
}

void CommandLine::addWatch() {
    auto where = parser->command("watch");
    where.argument("PATH", watch.paths);
    where.option("--interval", watch.interval)->check(numberUpTo(LONGEST_WAIT_SECONDS));
    where.option("--deadband", watch.deadband)->check(numberUpTo(1000.0));
    where.option("--all", watch.all);
    where.option("--every", watch.every);
    where.option("--count", watch.count)->check(wholeNumber);
    where.option("--for", watch.seconds)->check(numberUpTo(LONGEST_WAIT_SECONDS));
    where.chosen([this] { command = [this](Session& session) { return runWatch(session, watch); }; });
}

void CommandLine::addLogs() {
    auto where = parser->command("logs");
    where.option("-n", logs.newest)->check(wholeNumber);
    where.option("--follow", logs.follow);
    where.option("--for", logs.seconds)->check(numberUpTo(LONGEST_WAIT_SECONDS));
    where.chosen([this] { command = [this](Session& session) { return runLogs(session, logs); }; });
}

void CommandLine::addSet() {
    auto where = parser->command("set");
    where.argument("PATH", path);
    where.argument("VALUE", value);
    where.option("--timeout", timeoutSeconds)->check(numberUpTo(LONGEST_WAIT_SECONDS));
    where.option("--force", request.force);
    where.chosen(
        [this] { command = [this](Session& session) { return runSet(session, path, value, request); }; });
}

void CommandLine::addDo() {
    auto where = parser->command("do");
    where.argument("PATH", path);
    where.argument("ACTION", action);
    where.option("--delay", delaySeconds)->check(CLI::NonNegativeNumber);
    where.option("--yes", request.yes);
    where.option("--timeout", timeoutSeconds)->check(numberUpTo(LONGEST_WAIT_SECONDS));
    where.option("--force", request.force);
    where.chosen([this] {
        command = [this](Session& session) { return runDo(session, path, action, delaySeconds, request); };
    });
}

void CommandLine::addWholeStoreCommands() {
    auto doctor = parser->command("doctor");
    doctor.option("--config", file);
    doctor.chosen([this] { aloneCommand = [this](Surroundings& s) { return runDoctor(s, file); }; });
    auto exporting = parser->command("export");
    exporting.argument("FILE", file);
    exporting.chosen([this] { command = [this](Session& session) { return runExport(session, file); }; });
    auto importing = parser->command("import");
    importing.argument("FILE", file);
    importing.chosen([this] { aloneCommand = [this](Surroundings& s) { return runImport(s, file); }; });
}

void CommandLine::addShellCommands() {
    auto completion = parser->command("completion");
    completion.argument("SHELL", shell);
    completion.chosen([this] { aloneCommand = [this](Surroundings& s) { return runCompletion(s, shell); }; });
    parser->command("manual").chosen([this] { aloneCommand = runManual; });
    auto candidates = parser->command(program::COMPLETING_COMMAND);
    candidates.argument("KIND", question.kind);
    candidates.argument("WORD", question.word);
    candidates.argument("PART", question.part);
    candidates.chosen(
        [this] { aloneCommand = [this](Surroundings& s) { return runCompletePaths(s, question); }; });
}

std::vector<std::string> CommandLine::unusedRows() const {
    return parser->unused();
}

std::optional<ExitCode> CommandLine::parse(int argc, const char* const* argv) {
    try {
        parser->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            parser->exit(error);
            return ExitCode::Done;
        }
        std::cerr << "tess: " << complaintOf(argc, argv, error.what())
                  << "\nRun with --help for more information.\n";
        return ExitCode::Usage;
    }
    if (allSites && !allSitesCommand) {
        std::cerr << "tess: --all-sites goes with status alone\n";
        return ExitCode::Usage;
    }
    if (allSites) {
        command = nullptr;
        aloneCommand = allSitesCommand;
    }
    request.timeout = std::chrono::duration_cast<velk::common::Clock::Duration>(
        std::chrono::duration<double>{timeoutSeconds});
    return std::nullopt;
}

} // namespace velk::cli
