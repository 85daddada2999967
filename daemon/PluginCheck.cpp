#include "daemon/PluginCheck.h"

#include "daemon/ConfigurationFile.h"
#include "platform/common/DynamicLibrary.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <dlfcn.h>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace velk::daemon {

namespace {

namespace fs = std::filesystem;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;
using CheckFunction = int(const char* configurationPath, char* message, unsigned long size);

using EntryFunction = void*(const char* configurationPath);

constexpr std::size_t MESSAGE_SIZE = 1024;

struct CloseHandle {
    void operator()(void* handle) const { dlclose(handle); }
};

/// A file to load, and the place in the configuration that named it (the root when none did).
struct Candidate {
    fs::path path;
    Node place;
};

/// "*.so" or "*.so.N", as plug-ins are loaded.
bool isPluginName(const std::string& name) {
    const std::size_t end = name.find_last_not_of("0123456789");
    const bool numbered = end != std::string::npos && end + 1 < name.size() && name[end] == '.';
    return fs::path{numbered ? name.substr(0, end) : name}.extension() == ".so";
}

void addFolder(const fs::path& folder, const Node& place, std::vector<Candidate>& candidates) {
    std::error_code ignored;
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator{folder, ignored}) {
        if (isPluginName(entry.path().filename()) && !entry.is_directory(ignored)) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end(),
              [](const fs::path& a, const fs::path& b) { return a.native() < b.native(); });
    for (const fs::path& file : files) {
        candidates.push_back({file, place});
    }
}

void addNamed(const ConfigurationFile& file, const Node& name, std::vector<Candidate>& candidates,
              Findings& findings) {
    const fs::path path = file.resolved(name.text());
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        const std::size_t before = candidates.size();
        addFolder(path, name, candidates);
        if (candidates.size() == before) {
            findings.push_back(file.at(name, Finding::Severity::Warning,
                                       "expected plug-ins (*.so) in " + path.string() + ", there are none"));
        }
    } else if (fs::exists(path, ignored)) {
        candidates.push_back({path, name});
    } else {
        findings.push_back(
            file.at(name, Finding::Severity::Error,
                    "expected a plug-in or a folder of plug-ins, but " + path.string() + " is not there"));
    }
}

std::vector<Candidate> candidatesOf(const ConfigurationFile& file, Findings& findings) {
    std::vector<Candidate> candidates;
    const Node* list = file.root().findMember("protocolLibraries");
    if (list == nullptr || list->getValueType() != ValueType::Array) {
        addFolder(file.resolved(""), file.root(), candidates);
        return candidates;
    }
    for (const Node& name : list->members()) {
        if (name.getValueType() == ValueType::String) {
            addNamed(file, name, candidates, findings);
        }
    }
    return candidates;
}

void askPlugin(const ConfigurationFile& file, void* handle, Findings& findings) {
    auto* const check = reinterpret_cast<CheckFunction*>(dlsym(handle, CHECK_SYMBOL));
    if (check == nullptr) {
        return;
    }
    std::array<char, MESSAGE_SIZE> message{};
    if (check(file.path().c_str(), message.data(), message.size()) != 0) {
        message.back() = '\0';
        findings.push_back({Finding::Severity::Error, message.data()});
    }
}

/// Whether it is a plug-in.
bool checkPlugin(const ConfigurationFile& file, const Candidate& candidate, Findings& findings) {
    const std::string path = candidate.path.string();
    const std::unique_ptr<void, CloseHandle> handle{dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)};
    if (!handle) {
        const char* why = dlerror(); // NOLINT(concurrency-mt-unsafe): of this thread
        findings.push_back(
            file.at(candidate.place, Finding::Severity::Error,
                    "expected a plug-in that can be loaded: " + std::string{why == nullptr ? path : why}));
        return false;
    }
    if (dlsym(handle.get(), velk::common::DynamicLibrary::ENTRY_SYMBOL) == nullptr) {
        findings.push_back(file.at(candidate.place, Finding::Severity::Warning,
                                   path + " is no protocol plug-in and is passed over"));
        return false;
    }
    askPlugin(file, handle.get(), findings);
    return true;
}

PluginTrial tryPlugin(const std::string& path, const std::string& configuration) {
    const std::unique_ptr<void, CloseHandle> handle{dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)};
    if (!handle) {
        const char* why = dlerror(); // NOLINT(concurrency-mt-unsafe): of this thread
        return {path, "not loaded", why == nullptr ? "" : why};
    }
    auto* const entry =
        reinterpret_cast<EntryFunction*>(dlsym(handle.get(), velk::common::DynamicLibrary::ENTRY_SYMBOL));
    if (entry == nullptr) {
        return {path, "no plug-in", std::string{"it has no "} + velk::common::DynamicLibrary::ENTRY_SYMBOL};
    }
    try {
        return entry(configuration.c_str()) != nullptr
                   ? PluginTrial{path, "loaded", ""}
                   : PluginTrial{path, "declined", "its entry gives nothing with this configuration"};
    } catch (const std::exception& failure) {
        return {path, "not loaded", failure.what()};
    } catch (...) {
        return {path, "not loaded", "an exception that is none of the standard library"};
    }
}

} // namespace

std::vector<PluginTrial> tryPlugins(const ConfigurationFile& file) {
    Findings ignored; // names that lead to nothing are told by `checkPlugins`
    std::vector<PluginTrial> trials;
    for (const Candidate& candidate : candidatesOf(file, ignored)) {
        trials.push_back(tryPlugin(candidate.path.string(), file.path()));
    }
    return trials;
}

Findings checkPlugins(const ConfigurationFile& file) {
    Findings findings;
    std::size_t usable = 0;
    for (const Candidate& candidate : candidatesOf(file, findings)) {
        usable += checkPlugin(file, candidate, findings) ? 1 : 0;
    }
    if (usable == 0 && !hasError(findings)) {
        findings.push_back(
            file.at(file.root(), Finding::Severity::Warning, "no protocol plug-in: no device will be found"));
    }
    return findings;
}

} // namespace velk::daemon
