#include "platform/common/DynamicLibrary.h"

#include "platform/common/lwjson/Deserializer.h"

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <vector>

namespace velk::common {

namespace {

namespace fs = std::filesystem;
using powerdistribution::protocols::IProtocolLibrary;
using Libraries = std::list<std::unique_ptr<DynamicLibrary>>;
using Entry = IProtocolLibrary*(const char* configurationPath);

struct CloseHandle {
    void operator()(void* handle) const { dlclose(handle); }
};
using Handle = std::unique_ptr<void, CloseHandle>;

/// One line at once, so that lines of several threads do not mix.
void report(const std::string& what, const std::string& why) {
    std::cerr << what + ": " + why + "\n";
}

void reportFailedLoad(const std::string& file, const std::string& why) {
    report("Failed to load protocol library " + file, why);
}

/// "*.so" or "*.so.N" with a decimal N.
bool isPluginName(const std::string& name) {
    const std::size_t lastOther = name.find_last_not_of("0123456789");
    const bool isNumbered = lastOther != std::string::npos && lastOther + 1 < name.size();
    if (isNumbered && name[lastOther] == '.') {
        return fs::path{name.substr(0, lastOther)}.extension() == ".so";
    }
    return fs::path{name}.extension() == ".so";
}

bool isFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

/// The plug-ins of a folder, in byte order of their names. A folder that is not there has none.
std::vector<fs::path> pluginsIn(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code failure;
    fs::directory_iterator entries{folder, failure};
    for (; !failure && entries != fs::directory_iterator{}; entries.increment(failure)) {
        if (isPluginName(entries->path().filename()) && !isFolder(entries->path())) {
            files.push_back(entries->path());
        }
    }
    if (failure && failure != std::errc::no_such_file_or_directory) {
        report("Failed to read plug-in folder " + folder.string(), failure.message());
    }
    std::sort(files.begin(), files.end(),
              [](const fs::path& a, const fs::path& b) { return a.native() < b.native(); });
    return files;
}

/// The folder in which a file lies. Never empty, since a bare name would be searched for on the system's
/// library path.
fs::path folderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path{"."};
}

std::string textOf(const fs::path& file) {
    std::ifstream stream{file};
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::vector<fs::path> placesIn(const lwjson::Node& list, const fs::path& file) {
    std::vector<fs::path> places;
    for (const lwjson::Node& place : list.members()) {
        try {
            places.push_back(folderOf(file) / place.asString());
        } catch (const std::runtime_error& failure) {
            report("Failed to read \"protocolLibraries\" of " + file.string(), failure.what());
        }
    }
    return places;
}

/// What the file's member "protocolLibraries" names, or nothing if the file has no such list. A file that
/// cannot be read counts as one without: its failure is reported where the configuration is loaded.
std::optional<std::vector<fs::path>> listedPlaces(const fs::path& file) {
    try {
        const lwjson::Deserializer json{textOf(file)};
        const lwjson::Node* const list = json.findMember("protocolLibraries");
        if (list != nullptr && list->getValueType() == lwjson::ValueType::Array) {
            return placesIn(*list, file);
        }
        if (list != nullptr) {
            report("Failed to read \"protocolLibraries\" of " + file.string(), "expected an array");
        }
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
    return std::nullopt;
}

std::vector<fs::path> pluginFiles(const fs::path& path) {
    if (isFolder(path)) {
        return pluginsIn(path);
    }
    const auto places = listedPlaces(path);
    if (!places) {
        return pluginsIn(folderOf(path));
    }
    std::vector<fs::path> files;
    for (const fs::path& place : *places) {
        if (isFolder(place)) {
            const auto inside = pluginsIn(place);
            files.insert(files.end(), inside.begin(), inside.end());
        } else {
            files.push_back(place);
        }
    }
    return files;
}

/// Null when the plug-in is to be skipped.
std::unique_ptr<DynamicLibrary> load(const std::string& file, const std::string& configurationPath) {
    Handle handle{dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)};
    if (!handle) {
        reportFailedLoad(file, dlerror()); // NOLINT(concurrency-mt-unsafe): each thread has its own
        return nullptr;
    }
    auto* const entry = reinterpret_cast<Entry*>(dlsym(handle.get(), DynamicLibrary::ENTRY_SYMBOL));
    if (entry == nullptr) {
        return nullptr;
    }
    try {
        if (IProtocolLibrary* const library = entry(configurationPath.c_str())) {
            return std::make_unique<DynamicLibrary>(handle.release(), file, *library);
        }
    } catch (const std::exception& failure) {
        reportFailedLoad(file, failure.what());
    } catch (...) {
        // Dropped here: its code may lie in the library that goes at the end of this function.
        reportFailedLoad(file, "an exception that is none of the standard library");
    }
    return nullptr;
}

} // namespace

DynamicLibrary::DynamicLibrary(void* openHandle, std::string path, IProtocolLibrary& entryObject) :
    handle{openHandle}, file{std::move(path)}, library{entryObject} {}

DynamicLibrary::~DynamicLibrary() {
    dlclose(handle);
}

Libraries loadDynamicLibraries(const std::string& path) {
    Libraries libraries;
    for (const fs::path& file : pluginFiles(path)) {
        if (auto library = load(file.string(), path)) {
            libraries.push_back(std::move(library));
        }
    }
    return libraries;
}

} // namespace velk::common
