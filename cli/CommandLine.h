#pragma once

#include "cli/AlarmsCommand.h"
#include "cli/CompletePathsCommand.h"
#include "cli/DoCommand.h"
#include "cli/EventsCommand.h"
#include "cli/ExitCode.h"
#include "cli/HistoryCommand.h"
#include "cli/LogsCommand.h"
#include "cli/Session.h"
#include "cli/Surroundings.h"
#include "cli/TreeCommand.h"
#include "cli/WatchCommand.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velk::program {
class ProgramParser;
}

namespace velk::cli {

/// The arguments of `tess`: which command of `commandTable`, with which choices. Made once from the command
/// line, then run.
class CommandLine {
public:
    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Empty when there is a command to run; otherwise all has been said (help, a usage error) and the
    /// program ends with the code.
    std::optional<ExitCode> parse(int argc, const char* const* argv);

    /// Whether the command works with a store that is open: then `run`, else `runAlone`.
    bool needsStore() const { return command != nullptr; }
    ExitCode run(Session& session) const { return command(session); }
    ExitCode runAlone(Surroundings& surroundings) const { return aloneCommand(surroundings); }

    /// Rows of the table that go nowhere: none, or the table is wrong.
    std::vector<std::string> unusedRows() const;

    bool json{false};
    std::string store; ///< URL; empty for the one that the environment gives

private:
    void addLookingCommands();
    void addEvents();
    void addHistory();
    void addWatch();
    void addLogs();
    void addSet();
    void addDo();
    void addWholeStoreCommands();
    void addShellCommands();

    std::unique_ptr<program::ProgramParser> parser;
    std::function<ExitCode(Session&)> command;
    std::function<ExitCode(Surroundings&)> aloneCommand;
    std::function<ExitCode(Surroundings&)> allSitesCommand; ///< of a command that can look at all sites
    bool allSites{false};
    std::vector<std::string> paths;
    bool showsHistory{false};
    AlarmHistoryOptions alarmHistory;
    EventsOptions events;
    HistoryOptions history;
    WatchOptions watch;
    LogsOptions logs;
    TreeOptions tree;
    std::string path;
    std::string value;
    std::string action;
    std::optional<std::int32_t> delaySeconds;
    double timeoutSeconds{10.0};
    RequestOptions request;
    std::string file;
    std::string shell;
    PathQuestion question;
};

} // namespace velk::cli
