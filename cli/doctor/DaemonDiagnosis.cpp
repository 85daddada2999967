#include "cli/doctor/DaemonDiagnosis.h"

#include "cli/Communication.h"
#include "cli/TimeText.h"
#include "cli/doctor/ProgramOutput.h"
#include "cli/doctor/TrustedFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

namespace velk::cli {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* START =
    "systemctl start powerdistributiond, or start it by hand; its journal says why it ended";
constexpr const char* HANGS =
    "systemctl restart powerdistributiond, or end the process and start it by hand: it hangs";
constexpr const char* INSTALLED = VELK_SYSCONFDIR "/velk/powerdistributiond.json";
constexpr const char* PROGRAM = "powerdistributiond";
constexpr std::chrono::seconds LONGEST_CHECK{20};

int processOf(const std::string& mark) {
    const std::string field = "pid=";
    return mark.starts_with(field) ? std::atoi(mark.c_str() + field.size()) : 0;
}

/// What stands behind `--config` in the command line of a process, from the root of the file system.
std::string configurationOf(const fs::path& process) {
    std::ifstream stream{process / "cmdline"};
    const std::string option = "--config";
    bool isNext = false;
    for (std::string word; std::getline(stream, word, '\0');) {
        if (isNext || word.starts_with(option + "=")) {
            const std::string name = isNext ? word : word.substr(option.size() + 1);
            std::error_code ignored;
            return (fs::read_symlink(process / "cwd", ignored) / name).string();
        }
        isNext = word == option;
    }
    return "";
}

std::string textOf(const Json& object, const char* name) {
    const auto member = object.find(name);
    return member != object.end() && member->is_string() ? member->get<std::string>() : "";
}

Diagnosis diagnosePlugin(const Json& plugin) {
    const std::string state = textOf(plugin, "state");
    const std::string why = textOf(plugin, "why");
    const std::string detail = textOf(plugin, "path") + ": " + state + (why.empty() ? "" : ": " + why);
    if (state == "loaded") {
        return Diagnosis::ok("plug-in", detail);
    }
    if (state == "not loaded") {
        return Diagnosis::problem(
            "plug-in", detail, "install what it needs, or a build of it for this release and this machine");
    }
    return Diagnosis::note("plug-in", detail);
}

} // namespace

DaemonState stateOfDaemon(const StoreView& view) {
    for (const tessapi::ChannelRecord& channel : view.snapshot().channels) {
        if (channel.name != Communication::DAEMON_PROCESS || channel.type != qz::datatype::string ||
            !channel.initialized) {
            continue;
        }
        const std::string mark = channel.value.as_string();
        if (mark.empty()) {
            return {DaemonState::Kind::AtRest, 0, channel.changedMs, ""};
        }
        const bool runs = Communication::mayRun(mark, view.snapshot());
        return {runs ? DaemonState::Kind::Running : DaemonState::Kind::Gone, processOf(mark),
                channel.changedMs, mark};
    }
    return {};
}

Diagnosis diagnoseDaemon(const DaemonState& daemon, std::int64_t nowMs) {
    const std::string process = "process " + std::to_string(daemon.process);
    switch (daemon.kind) {
    case DaemonState::Kind::Running:
        if (!daemon.answers) {
            return Diagnosis::problem(
                "daemon",
                process + ", at work since " + timeAndAge(daemon.saidMs, nowMs) + ", does not answer", HANGS);
        }
        return Diagnosis::ok("daemon", process + ", at work since " + timeAndAge(daemon.saidMs, nowMs));
    case DaemonState::Kind::AtRest:
        return Diagnosis::problem(
            "daemon", "nobody looks at the device since " + timeAndAge(daemon.saidMs, nowMs), START);
    case DaemonState::Kind::Gone:
        return Diagnosis::problem("daemon",
                                  process + ", at work since " + timeAndAge(daemon.saidMs, nowMs) +
                                      ", has ended without a word",
                                  START);
    default:
        return Diagnosis::problem("daemon", "none has ever used this store",
                                  "start powerdistributiond with this store, or name the store that it uses");
    }
}

Diagnosis diagnoseCommunication(const StoreView& view, const DaemonState& daemon, std::int64_t nowMs) {
    const Connection connection = Communication{view}.device();
    const std::string detail =
        connection.state + (connection.sinceMs == 0 ? "" : " since " + timeAndAge(connection.sinceMs, nowMs));
    if (daemon.kind != DaemonState::Kind::Running) {
        const bool isSaid = detail.starts_with("not watched");
        return Diagnosis::note("communication", detail + (isSaid ? "" : "; nobody looks now"));
    }
    return connection.good ? Diagnosis::ok("communication", detail)
                           : Diagnosis::problem("communication", detail,
                                                "look at the cable, the address and the credentials of the "
                                                "device; \"tess events\" tells when it was lost");
}

std::string daemonProgram() {
    std::error_code ignored;
    return (fs::read_symlink("/proc/self/exe", ignored).parent_path() / PROGRAM).string();
}

DaemonConfiguration configurationOfDaemon(const DaemonState& daemon, const std::string& program) {
    std::error_code ignored;
    std::string used;
    std::string stranger;
    if (daemon.kind == DaemonState::Kind::Running && daemon.process > 0) {
        const fs::path process = fs::path{"/proc"} / std::to_string(daemon.process);
        if (fs::equivalent(process / "exe", program, ignored)) {
            used = configurationOf(process);
        } else {
            stranger = "process " + std::to_string(daemon.process) +
                       ", as far as this user can see, is not " + program;
        }
    }
    if (used.empty() && fs::exists(INSTALLED, ignored)) {
        used = INSTALLED;
    }
    if (used.empty()) {
        return {"", stranger};
    }
    const std::string doubt = distrustOf(used);
    return {used, doubt.empty() ? distrustOfPlugins(used) : doubt};
}

Diagnoses diagnoseConfiguration(const std::string& json) {
    const Json document = Json::parse(json, nullptr, false);
    if (!document.is_object() || !document.contains("findings") || !document.contains("plugins")) {
        return {Diagnosis::problem("configuration", "the daemon's check gave no answer that can be read",
                                   "install tess and powerdistributiond of one release")};
    }
    Diagnoses found;
    for (const Json& finding : document["findings"]) {
        const std::string text = textOf(finding, "text");
        found.push_back(textOf(finding, "severity") == "error"
                            ? Diagnosis::problem("configuration", text, "mend it, and start the daemon anew")
                            : Diagnosis::note("configuration", text));
    }
    if (found.empty()) {
        found.push_back(Diagnosis::ok("configuration", textOf(document, "configuration")));
    }
    for (const Json& plugin : document["plugins"]) {
        found.push_back(diagnosePlugin(plugin));
    }
    return found;
}

std::string checkByDaemon(const std::string& configuration, std::string& failure) {
    std::error_code error;
    const std::string program = daemonProgram();
    if (!fs::exists(program, error)) {
        failure = program + " is not there to check it";
        return "";
    }
    return outputOf({program, "--check", "--json", "--config", configuration}, LONGEST_CHECK, failure);
}

} // namespace velk::cli
