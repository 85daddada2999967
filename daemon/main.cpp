#include "daemon/CheckReport.h"
#include "daemon/ConfigurationCheck.h"
#include "daemon/DaemonTable.h"
#include "daemon/ExitCode.h"
#include "daemon/Host.h"
#include "platform/program/Completion.h"
#include "platform/program/ManualPage.h"
#include "platform/program/ProgramParser.h"

#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

namespace {

using velk::daemon::ExitCode;
using velk::daemon::Findings;

ExitCode run(const std::string& path) {
    const Findings findings = velk::daemon::checkFile(path);
    if (hasError(findings)) {
        print(std::cerr, findings);
        return ExitCode::BadConfiguration;
    }
    // A plug-in or an alarm file can be put right while the daemon tries: told, but no reason not to start.
    print(std::cerr, velk::daemon::checkConfiguration(path));
    return velk::daemon::host(path);
}

struct Choices {
    std::string configuration;
    bool check{false};
    bool json{false};
    bool manual{false};
    std::string completion; ///< for which shell
};

ExitCode act(const Choices& choices) {
    if (choices.manual) {
        std::cout << velk::program::manualPage(velk::daemon::daemonTable());
        return ExitCode::Done;
    }
    if (!choices.completion.empty()) {
        std::cout << velk::program::completionFor(choices.completion, velk::daemon::daemonTable());
        return ExitCode::Done;
    }
    if (choices.check) {
        return choices.json ? velk::daemon::reportCheckAsJson(std::cout, choices.configuration)
                            : velk::daemon::reportCheck(std::cout, choices.configuration);
    }
    return run(choices.configuration);
}

} // namespace

int main(int argc, char** argv) {
    // Whoever reads a pipe or a journal sees each line when it is written.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    Choices choices;
    velk::program::ProgramParser parser{velk::daemon::daemonTable()};
    auto all = parser.program();
    all.option("--config", choices.configuration);
    all.option("--check", choices.check);
    all.option("--json", choices.json);
    all.option("--manual", choices.manual);
    all.option("--completion", choices.completion)->check(CLI::IsMember({"bash", "zsh", "fish"}));
    try {
        parser.parse(argc, argv);
        if (choices.configuration.empty() && !choices.manual && choices.completion.empty()) {
            throw CLI::RequiredError{"--config"};
        }
    } catch (const CLI::ParseError& error) {
        return static_cast<int>(parser.exit(error) == 0 ? ExitCode::Done : ExitCode::Usage);
    }
    try {
        return static_cast<int>(act(choices));
    } catch (const std::exception& failure) {
        std::cerr << "powerdistributiond: " << failure.what() << "\n";
        return static_cast<int>(ExitCode::Failed);
    }
}
