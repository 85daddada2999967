#include "platform/tessapi/engine/StoreUrl.h"

#include <cstdlib>
#include <stdexcept>

namespace tessapi {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): read only
    return value == nullptr ? "" : value;
}

/// systemd gives several state directories separated by ':'; the first one is the program's own.
std::string firstOf(const std::string& directories) {
    return directories.substr(0, directories.find(':'));
}

} // namespace

StoreUrl::StoreUrl(const std::string& text) {
    const auto colon = text.find(':');
    const auto scheme = text.substr(0, colon);
    if (colon != std::string::npos && NetworkUrl::isScheme(scheme)) {
        server = NetworkUrl{text};
        location = server->site;
        return;
    }
    if (colon == std::string::npos || (scheme != "sqlite" && scheme != "memory")) {
        throw std::invalid_argument{"\"" + text + "\" names no store: expected sqlite:PATH, memory:NAME or redis://HOST/SITE"};
    }
    memory = scheme == "memory";
    location = text.substr(colon + 1);
    if (location.empty() || location.find('\0') != std::string::npos) {
        throw std::invalid_argument{"\"" + text + "\" names no store: " + (memory ? "the name" : "the path") +
                                    " is missing"};
    }
}

std::string StoreUrl::ofEnvironment() {
    if (const auto url = environment("TESS_URL"); !url.empty()) {
        return url;
    }
    if (const auto state = firstOf(environment("STATE_DIRECTORY")); !state.empty()) {
        return "sqlite:" + state + "/tess.db";
    }
    if (const auto state = environment("XDG_STATE_HOME"); !state.empty()) {
        return "sqlite:" + state + "/velk/tess.db";
    }
    if (const auto home = environment("HOME"); !home.empty()) {
        return "sqlite:" + home + "/.local/state/velk/tess.db";
    }
    throw std::invalid_argument{"no store is named: neither TESS_URL nor STATE_DIRECTORY, XDG_STATE_HOME or "
                                "HOME is set"};
}

} // namespace tessapi
