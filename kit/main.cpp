#include "kit/Finding.h"
#include "kit/Options.h"
#include "kit/Session.h"
#include "kit/Trial.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

using velk::kit::Finding;
using velk::kit::Options;
using velk::kit::quoted;
using velk::kit::Trial;

enum class ExitCode { Clean = 0, Findings = 1, Usage = 2 };

constexpr const char* FOOTER =
    "The plug-in is loaded in a child process. One that crashes, hangs or ends its process is a finding, "
    "and\n"
    "the rest is tried in another child without the path that did it.\n\n"
    "What is tried: the entry and the Uuids; paths that nobody serves; every path that the library asks "
    "for,\n"
    "read twice and held against the catalogue; counts against items; the identity; isReadable and "
    "isWritable\n"
    "against behaviour, with each setting's own value written back; the alarm file; reads from many "
    "threads;\n"
    "building and destroying with memory flat; communicationStatus; what is read after disconnect; threads\n"
    "that are left; loading once more. With --pause-command also a device that goes away and comes back.\n\n"
    "A line a finding: \"error: PATH: expected …; came …\". An error breaks the contract, a warning costs\n"
    "something, a note says what could not be tried and does not count.\n\n"
    "Exit codes: 0 clean, 1 errors or warnings, 2 usage or a check that could not be made.";

/// A folder with a configuration that names the plug-in and nothing else; gone with this object.
class EmptyConfiguration {
public:
    explicit EmptyConfiguration(const std::string& plugin) {
        std::string name{(std::filesystem::temp_directory_path() / "velk-plugin-check-XXXXXX").string()};
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error{"cannot make a folder in " + name};
        }
        folder = name;
        std::ofstream{file()} << R"({"protocolLibraries": [)"
                              << quoted(std::filesystem::absolute(plugin).string()) << "]}\n";
    }
    ~EmptyConfiguration() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    EmptyConfiguration(const EmptyConfiguration&) = delete;
    EmptyConfiguration& operator=(const EmptyConfiguration&) = delete;

    std::string file() const { return (folder / "velk.json").string(); }

private:
    std::filesystem::path folder;
};

struct Numbers {
    double slowMs{100};
    double timeoutSeconds{10};
    double discoverSeconds{30};
    double lossSeconds{30};
};

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::milliseconds{static_cast<std::int64_t>(seconds * 1000)};
}

void addOptions(CLI::App& app, Options& options, Numbers& numbers) {
    app.add_option("PLUGIN", options.plugin, "The plug-in, a shared library")
        ->required()
        ->check(CLI::ExistingFile);
    app.add_option("--config", options.configuration,
                   "Configuration file for the plug-in; without, one that says nothing")
        ->check(CLI::ExistingFile);
    auto* pause =
        app.add_option("--pause-command", options.pauseCommand, "Takes the device away (for /bin/sh)");
    auto* resume = app.add_option("--resume-command", options.resumeCommand, "Brings it back (for /bin/sh)");
    pause->needs(resume);
    resume->needs(pause);
    app.add_flag("--change-settings", options.changeSettings,
                 "Give each setting another value, look whether it came, and put it back");
    app.add_flag("--actions", options.actions, "Carry out every action. The load may lose power");
    app.add_option("--slow-ms", numbers.slowMs, "Reads that take longer are named (100)")
        ->check(CLI::Range(0.0, 1e6));
    app.add_option("--timeout", numbers.timeoutSeconds, "Seconds after which a call hangs (10)")
        ->check(CLI::Range(0.01, 3600.0));
    app.add_option("--discover-timeout", numbers.discoverSeconds, "Seconds to find the device (30)")
        ->check(CLI::Range(0.01, 3600.0));
    app.add_option("--loss-timeout", numbers.lossSeconds, "Seconds to notice a loss or a return (30)")
        ->check(CLI::Range(0.01, 3600.0));
    app.add_option("--rounds", options.rounds, "Of building and destroying (1000)")
        ->check(CLI::Range(0, 1000000));
    app.add_option("--threads", options.threads, "That read at once (8)")->check(CLI::Range(1, 64));
}

std::string secondsText(std::chrono::steady_clock::duration time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", std::chrono::duration<double>(time).count());
    return text;
}

ExitCode check(const Options& options, bool json) {
    const auto start = velk::kit::now();
    std::string list;
    Trial trial{options, [&](const Finding& finding) {
                    if (json) {
                        list += (list.empty() ? "\n    " : ",\n    ") + jsonOf(finding);
                    } else {
                        std::cout << lineOf(finding) << std::endl;
                    }
                }};
    trial.run();
    const std::string seconds = secondsText(velk::kit::now() - start);
    if (json) {
        std::cout << "{\n  \"plugin\": " << quoted(options.plugin) << ",\n  \"findings\": [" << list
                  << (list.empty() ? "" : "\n  ") << "],\n  \"points\": " << trial.points()
                  << ",\n  \"wrappers\": " << trial.wrappers() << ",\n  \"seconds\": " << seconds
                  << ",\n  \"clean\": " << (trial.hasFindings() ? "false" : "true") << "\n}\n";
    } else {
        std::cout << std::filesystem::path{options.plugin}.filename().string() << ": "
                  << (trial.hasFindings() ? "not clean" : "clean") << "; " << trial.points()
                  << " points served, " << trial.wrappers() << " wrappers tried, " << seconds << " s\n";
    }
    return trial.hasFindings() ? ExitCode::Findings : ExitCode::Clean;
}

ExitCode run(Options options, const Numbers& numbers, bool json) {
    options.slow = milliseconds(numbers.slowMs / 1000);
    options.patience = milliseconds(numbers.timeoutSeconds);
    options.discovery = milliseconds(numbers.discoverSeconds);
    options.loss = milliseconds(numbers.lossSeconds);
    if (!options.configuration.empty()) {
        return check(options, json);
    }
    const EmptyConfiguration empty{options.plugin};
    options.configuration = empty.file();
    return check(options, json);
}

ExitCode checkAsAsked(int argc, char** argv) {
    CLI::App app{"Says what is wrong with a protocol plug-in before a device does.", "velk-plugin-check"};
    Options options;
    Numbers numbers;
    bool json = false;
    addOptions(app, options, numbers);
    app.add_flag("--json", json, "One JSON document for programs");
    app.set_version_flag("--version", "velk-plugin-check " VELK_VERSION);
    app.footer(FOOTER);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitCode::Clean : ExitCode::Usage;
    }
    return run(options, numbers, json);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return static_cast<int>(checkAsAsked(argc, argv));
    } catch (const std::exception& failure) {
        std::cerr << "velk-plugin-check: " << failure.what() << "\n";
        return static_cast<int>(ExitCode::Usage);
    }
}
