#include "plugins/simulator/PluginFile.h"

#include <cstdlib>
#include <dlfcn.h>
#include <string_view>

namespace velk::simulator {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view PREFIX = "libvelk-mz-protocol-";
constexpr std::string_view SECTION = "simulator";

constexpr velk::common::Uuid PROTOCOL_UUID{velk::common::Uuid::Bytes{
    0x5d, 0x71, 0xc2, 0x0e, 0x84, 0x9b, 0x4e, 0x36, 0xb1, 0x0f, 0x27, 0x6a, 0xe4, 0x93, 0x58, 0xd1}};

/// The data of an installed plug-in lie where they lie seen from it, so that a tree may be moved.
fs::path installedData() {
    return (pluginFile().parent_path() / VELK_SIMULATOR_DATA_FROM_PLUGIN).lexically_normal();
}

} // namespace

fs::path pluginFile() {
    Dl_info info{};
    const auto* const ownCode = reinterpret_cast<const void*>(&pluginFile);
    return dladdr(ownCode, &info) != 0 && info.dli_fname != nullptr ? fs::path{info.dli_fname} : fs::path{};
}

std::string sectionOf(const fs::path& plugin) {
    const std::string name = plugin.filename().string();
    const std::size_t end = name.find(".so");
    if (name.rfind(PREFIX, 0) != 0 || end == std::string::npos || end == PREFIX.size()) {
        return std::string{SECTION};
    }
    return name.substr(PREFIX.size(), end - PREFIX.size());
}

velk::common::Uuid protocolUuidOf(const std::string& section) {
    return section == SECTION ? PROTOCOL_UUID : velk::common::Uuid{PROTOCOL_UUID, section};
}

std::vector<fs::path> deviceFolders(const fs::path& configurationFolder) {
    std::vector<fs::path> folders;
    const char* chosen = std::getenv("VELK_SIMULATOR_DEVICES"); // NOLINT(concurrency-mt-unsafe): read only
    if (chosen != nullptr) {
        folders.emplace_back(chosen);
    }
    folders.push_back(configurationFolder);
    folders.push_back(fs::path{VELK_SIMULATOR_SOURCES} / "devices");
    folders.push_back(installedData() / "devices");
    return folders;
}

std::vector<fs::path> scenarioFolders(const fs::path& configurationFolder) {
    return {configurationFolder, fs::path{VELK_SIMULATOR_SOURCES} / "scenarios",
            installedData() / "scenarios"};
}

} // namespace velk::simulator
