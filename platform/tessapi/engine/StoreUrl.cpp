#include "platform/tessapi/engine/StoreUrl.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace tessapi {

namespace {

namespace fs = std::filesystem;

constexpr const char* CORRUPT_OPTION = "when-corrupt=";
constexpr const char* SET_ASIDE = "when-corrupt=set-aside";
constexpr const char* REFUSE = "when-corrupt=refuse";

std::string environment(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): read only
    return value == nullptr ? "" : value;
}

/// systemd gives several directories separated by ':'; the first one is the program's own.
std::string firstOf(const std::string& directories) {
    return directories.substr(0, directories.find(':'));
}

bool mayWriteIn(const std::string& folder) {
    std::error_code error;
    return fs::is_directory(folder, error) && ::access(folder.c_str(), W_OK | X_OK) == 0;
}

constexpr const char* RUNTIME_OF_MACHINE = "/run/velk";

std::string fileOfEnvironment() {
    if (const auto state = firstOf(environment("STATE_DIRECTORY")); !state.empty()) {
        return state + "/tess.db";
    }
    if (const auto state = environment("XDG_STATE_HOME"); !state.empty()) {
        return state + "/velk/tess.db";
    }
    if (const auto home = environment("HOME"); !home.empty()) {
        return home + "/.local/state/velk/tess.db";
    }
    throw std::invalid_argument{"no store is named: neither TESS_URL nor STATE_DIRECTORY, XDG_STATE_HOME or "
                                "HOME is set"};
}

/// What is to become of a corrupt file, unless the URL says it.
std::string withCorruptOption(const std::string& url) {
    const auto word = environment("TESS_WHEN_CORRUPT");
    const auto mark = url.find('?');
    if (word.empty() || url.rfind("sqlite:", 0) != 0 || url.find(CORRUPT_OPTION, mark) != std::string::npos) {
        return url;
    }
    return url + (mark == std::string::npos ? "?" : "&") + CORRUPT_OPTION + word;
}

} // namespace

StoreUrl::StoreUrl(const std::string& text) : whole{text} {
    const auto colon = text.find(':');
    const auto scheme = text.substr(0, colon);
    if (colon != std::string::npos && NetworkUrl::isScheme(scheme)) {
        server = NetworkUrl{text};
        location = server->site;
        return;
    }
    if (colon == std::string::npos || (scheme != "sqlite" && scheme != "memory")) {
        refuse("expected sqlite:PATH, memory:NAME or redis://HOST/SITE");
    }
    memory = scheme == "memory";
    const auto mark = memory ? std::string::npos : text.find('?', colon);
    location = text.substr(colon + 1, mark == std::string::npos ? mark : mark - colon - 1);
    if (location.empty() || text.find('\0') != std::string::npos) {
        refuse(std::string{memory ? "the name" : "the path"} + " is missing");
    }
    for (auto at = mark; at != std::string::npos;) {
        const auto end = text.find('&', ++at);
        readOption(text.substr(at, end == std::string::npos ? end : end - at));
        at = end;
    }
}

void StoreUrl::readOption(const std::string& option) {
    const auto equals = option.find('=');
    const auto name = option.substr(0, equals);
    const auto value = equals == std::string::npos ? "" : option.substr(equals + 1);
    if (name == "working" && !value.empty()) {
        working = value;
        return;
    }
    if (option == SET_ASIDE || option == REFUSE) {
        corruptAside = option == SET_ASIDE;
        return;
    }
    if (name != "keep") {
        refuse("\"" + option + "\" is none of working=FOLDER, keep=SECONDS, " + SET_ASIDE + " and " + REFUSE);
    }
    std::int64_t seconds = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
    if (error != std::errc{} || end != value.data() + value.size() || seconds < SHORTEST_INTERVAL.count() ||
        seconds > LONGEST_INTERVAL.count()) {
        refuse("\"" + option + "\" is not a number of seconds from " +
               std::to_string(SHORTEST_INTERVAL.count()) + " to " + std::to_string(LONGEST_INTERVAL.count()));
    }
    interval = std::chrono::seconds{seconds};
}

void StoreUrl::refuse(const std::string& reason) const {
    const bool isPath = whole.rfind("sqlite:", 0) == 0 || memory;
    throw std::invalid_argument{"\"" + (isPath ? whole : NetworkUrl::withoutPassword(whole)) +
                                "\" names no store: " + reason};
}

std::string StoreUrl::runtimeFolder() {
    if (auto runtime = firstOf(environment("RUNTIME_DIRECTORY")); !runtime.empty()) {
        return runtime;
    }
    if (mayWriteIn(RUNTIME_OF_MACHINE)) {
        return RUNTIME_OF_MACHINE;
    }
    const auto user = environment("XDG_RUNTIME_DIR");
    return !user.empty() && mayWriteIn(user) ? user + "/velk" : "";
}

std::vector<std::string> StoreUrl::runtimeFolders() {
    std::vector<std::string> folders;
    const auto add = [&folders](const std::string& folder) {
        if (!folder.empty() && std::find(folders.begin(), folders.end(), folder) == folders.end()) {
            folders.push_back(folder);
        }
    };
    add(firstOf(environment("RUNTIME_DIRECTORY")));
    add(RUNTIME_OF_MACHINE);
    const auto user = environment("XDG_RUNTIME_DIR");
    add(user.empty() ? "" : user + "/velk");
    return folders;
}

std::string StoreUrl::ofEnvironment() {
    if (const auto url = environment("TESS_URL"); !url.empty()) {
        return withCorruptOption(url);
    }
    const auto working = runtimeFolder();
    return withCorruptOption("sqlite:" + fileOfEnvironment() +
                             (working.empty() ? "" : "?working=" + working));
}

} // namespace tessapi
