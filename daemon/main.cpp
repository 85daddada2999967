#include "daemon/ConfigurationCheck.h"
#include "daemon/ExitCode.h"
#include "daemon/Host.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

namespace {

using velk::daemon::ExitCode;
using velk::daemon::Findings;

constexpr const char* FOOTER =
    "SIGINT or SIGTERM lets the device go and ends; a second one ends at once.\n\n"
    "The store is the one that TESS_URL names, else the one of this machine.\n\n"
    "Exit codes: 0 ended as asked, or the configuration is good; 1 failed; 2 usage; 3 bad configuration;\n"
    "8 ended at once by a second signal.";

ExitCode check(const std::string& path) {
    const Findings findings = velk::daemon::checkConfiguration(path);
    print(std::cout, findings);
    if (hasError(findings)) {
        return ExitCode::BadConfiguration;
    }
    std::cout << path << ": good\n";
    return ExitCode::Done;
}

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

} // namespace

int main(int argc, char** argv) {
    // Whoever reads a pipe or a journal sees each line when it is written.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    CLI::App app{"Looks after the power device of this machine and keeps its picture in the store.",
                 "powerdistributiond"};
    std::string path;
    bool onlyCheck = false;
    app.add_option("--config", path, "Configuration file")->required();
    app.add_flag("--check", onlyCheck,
                 "Say what is wrong with the configuration as FILE:LINE:COLUMN and end");
    app.set_version_flag("--version", "powerdistributiond " VELK_VERSION);
    app.footer(FOOTER);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return static_cast<int>(app.exit(error) == 0 ? ExitCode::Done : ExitCode::Usage);
    }
    try {
        return static_cast<int>(onlyCheck ? check(path) : run(path));
    } catch (const std::exception& failure) {
        std::cerr << "powerdistributiond: " << failure.what() << "\n";
        return static_cast<int>(ExitCode::Failed);
    }
}
