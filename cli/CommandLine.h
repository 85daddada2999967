#pragma once

#include "cli/DoCommand.h"
#include "cli/ExitCode.h"
#include "cli/LogsCommand.h"
#include "cli/Session.h"
#include "cli/TreeCommand.h"
#include "cli/WatchCommand.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace velk::cli {

/// The arguments of `tess`: which command, with which choices. Made once from the command line, then run.
class CommandLine {
public:
    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Empty when there is a command to run; otherwise all has been said (help, a usage error) and the
    /// program ends with the code.
    std::optional<ExitCode> parse(int argc, const char* const* argv);

    ExitCode run(Session& session) const { return command(session); }

    bool json{false};
    std::string store; ///< URL; empty for the one that the environment gives

private:
    /// False when `word` is a command, or no word.
    bool sayNearestCommand(const std::string& word) const;
    void addLookingCommands();
    void addWatch();
    void addLogs();
    void addSet();
    void addDo();
    void addRequestOptions(CLI::App& where);

    std::unique_ptr<CLI::App> app;
    std::function<ExitCode(Session&)> command;
    std::vector<std::string> paths;
    WatchOptions watch;
    LogsOptions logs;
    TreeOptions tree;
    std::string path;
    std::string value;
    std::string action;
    std::optional<std::int32_t> delaySeconds;
    double timeoutSeconds{10.0};
    RequestOptions request;
};

} // namespace velk::cli
