#include "cli/doctor/TrustedFile.h"

#include "cli/doctor/FileDiagnosis.h"
#include "cli/doctor/JsonFile.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace velk::cli {

namespace {

namespace fs = std::filesystem;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

constexpr mode_t OTHERS_WRITE = S_IWGRP | S_IWOTH;

/// Of this one alone.
std::string distrustOfOne(const std::string& path) {
    struct stat status {};
    const auto facts = factsOf(path);
    if (!facts || stat(path.c_str(), &status) != 0) {
        return path + " cannot be looked at";
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        return path + " belongs to " + facts->owner;
    }
    const bool isKept = facts->isFolder() && (status.st_mode & S_ISVTX) != 0;
    return (status.st_mode & OTHERS_WRITE) != 0 && !isKept
               ? path + " can be written by others than its owner (" + facts->rights() + ")"
               : "";
}

/// Each of them a file or a folder.
std::vector<fs::path> pluginPlaces(const fs::path& configuration) {
    std::vector<fs::path> places;
    lookIntoJson(configuration, [&](const Node& root) {
        const Node* list = root.findMember("protocolLibraries");
        if (list == nullptr || list->getValueType() != ValueType::Array) {
            places.push_back(configuration.parent_path());
            return;
        }
        for (const Node& name : list->members()) {
            if (name.getValueType() == ValueType::String) {
                places.push_back(configuration.parent_path() / name.text());
            }
        }
    });
    return places;
}

} // namespace

std::string distrustOf(const std::string& file) {
    std::error_code error;
    fs::path place = fs::canonical(file, error);
    if (error) {
        return file + ": " + error.message();
    }
    while (true) {
        std::string doubt = distrustOfOne(place.string());
        if (!doubt.empty() || place == place.root_path()) {
            return doubt;
        }
        place = place.parent_path();
    }
}

std::string distrustOfPlugins(const std::string& path) {
    std::error_code error;
    for (const fs::path& place : pluginPlaces(path)) {
        if (!fs::exists(place, error)) {
            continue; // nothing is loaded from there
        }
        std::string doubt = distrustOf(place.string());
        for (fs::directory_iterator entry{place, error};
             doubt.empty() && !error && entry != fs::directory_iterator{}; entry.increment(error)) {
            doubt = entry->path().filename().string().find(".so") == std::string::npos
                        ? ""
                        : distrustOf(entry->path().string());
        }
        if (!doubt.empty()) {
            return doubt;
        }
    }
    return "";
}

} // namespace velk::cli
