#include "cli/doctor/StoreDiagnosis.h"

#include "cli/OpenStore.h"
#include "platform/tessapi/StoreAdvice.h"
#include "platform/tessapi/StoreImageCheck.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace velk::cli {

namespace {

namespace fs = std::filesystem;

constexpr const char* SCHEME = "sqlite:";

/// As the store looks for it.
std::string reasonOf(const std::string& named) {
    if (!named.empty()) {
        return "named by --store";
    }
    const auto isSet = [](const char* name) {
        const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): read only
        return value != nullptr && *value != '\0';
    };
    if (isSet("TESS_URL")) {
        return "TESS_URL";
    }
    for (const char* name : {"STATE_DIRECTORY", "XDG_STATE_HOME"}) {
        if (isSet(name)) {
            return std::string{"no TESS_URL: "} + name;
        }
    }
    return "no TESS_URL: HOME";
}

std::string fileOf(const std::string& url) {
    const std::string scheme{SCHEME};
    return url.starts_with(scheme) ? url.substr(scheme.size(), url.find('?') - scheme.size()) : "";
}

bool hasOpen(const fs::path& process, const fs::path& file) {
    std::error_code error;
    for (fs::directory_iterator entry{process / "fd", error}; !error && entry != fs::directory_iterator{};
         entry.increment(error)) {
        std::error_code ignored;
        if (fs::read_symlink(entry->path(), ignored) == file) {
            return true;
        }
    }
    return false;
}

/// The system keeps the first 15 letters of a name; the command line has all of them, unless the process has
/// put something else there.
std::string nameOf(const fs::path& process) {
    std::string name;
    std::string command;
    std::ifstream shortName{process / "comm"};
    std::getline(shortName, name);
    std::ifstream commandLine{process / "cmdline"};
    std::getline(commandLine, command, '\0');
    const std::string whole = fs::path{command}.filename();
    return whole.starts_with(name) ? whole : name;
}

} // namespace

StorePlace placeOfStore(const std::string& named) {
    const std::string url = storeUrl(named);
    return {url, reasonOf(named), fileOf(url)};
}

std::string nameOfProgram(int process) {
    return nameOf(fs::path{"/proc"} / std::to_string(process));
}

std::vector<StoreUser> usersOfStore(const std::string& file) {
    std::vector<StoreUser> users;
    std::error_code error;
    const fs::path wanted = fs::weakly_canonical(file, error);
    for (fs::directory_iterator entry{"/proc", error}; !error && entry != fs::directory_iterator{};
         entry.increment(error)) {
        const std::string number = entry->path().filename();
        const bool isProcess = number.find_first_not_of("0123456789") == std::string::npos;
        if (isProcess && number != std::to_string(getpid()) && hasOpen(entry->path(), wanted)) {
            users.push_back({std::stoi(number), nameOf(entry->path())});
        }
    }
    std::sort(users.begin(), users.end(),
              [](const StoreUser& a, const StoreUser& b) { return a.process < b.process; });
    return users;
}

Diagnosis diagnosePlace(const StorePlace& place) {
    return Diagnosis::ok("store", place.url + " (" + place.reason + ")");
}

Diagnosis diagnoseOpening(const StorePlace& place, const std::exception& failure) {
    const std::string detail = std::string{failure.what()} + " (" + place.reason + ")";
    std::string advice = "name a store: sqlite:PATH, as TESS_URL or by --store";
    if (const auto* ofStore = dynamic_cast<const boost::system::system_error*>(&failure)) {
        advice = tessapi::storeAdvice(ofStore->code());
    }
    return Diagnosis::problem("store", detail, advice.empty() ? "look at what the message names" : advice);
}

Diagnosis diagnoseEngine(const tessapi::StoreHealth& health) {
    std::string text = health.engine + (health.server.empty() ? "" : ", " + health.server);
    if (health.file) {
        text += ", " + health.file->path + " of " + sizeText(static_cast<double>(health.file->bytes)) +
                ", write-ahead log of " + sizeText(static_cast<double>(health.file->logBytes));
    }
    if (health.copy) {
        text += ", copied to " + health.copy->path;
    }
    if (health.schemaOfEngine != 0) {
        text += ", schema version " + std::to_string(health.schemaVersion) +
                " (of this program: " + std::to_string(health.schemaOfEngine) + ")";
    }
    return Diagnosis::ok("engine", text);
}

Diagnosis diagnoseContent(const tessapi::StoreImage& image) {
    if (const auto fault = tessapi::findFault(image)) {
        return Diagnosis::problem("content", fault->text,
                                  "stop powerdistributiond, set the file aside, \"tess import\" what was "
                                  "exported before, and start "
                                  "powerdistributiond");
    }
    return Diagnosis::ok("content", std::to_string(image.content.devices.size()) + " devices, " +
                                        std::to_string(image.content.channels.size()) +
                                        " channels, all of a piece");
}

Diagnosis diagnoseUsers(const std::vector<StoreUser>& users) {
    std::string text;
    for (const StoreUser& user : users) {
        text += (text.empty() ? "" : ", ") + user.program + " (process " + std::to_string(user.process) + ")";
    }
    return Diagnosis::ok("users", text.empty() ? "no other program that this user can see" : text);
}

} // namespace velk::cli
