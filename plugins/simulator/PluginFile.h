#pragma once

#include "platform/common/Uuid.h"

#include <filesystem>
#include <string>
#include <vector>

namespace velk::simulator {

/// The file from which this very plug-in was loaded.
std::filesystem::path pluginFile();

/// "NAME" of "libvelk-mz-protocol-NAME.so", also with a number behind it; "simulator" for any other name.
std::string sectionOf(const std::filesystem::path& plugin);

/// The Uuid of the protocol of a plug-in with this section: fixed for "simulator", derived for others, so
/// that two copies of the plug-in are two protocols.
velk::common::Uuid protocolUuidOf(const std::string& section);

/// Where devices and scenarios are looked for by their names: beside the configuration, in the source tree of
/// the build, and where they are installed. VELK_SIMULATOR_DEVICES goes before all of them.
std::vector<std::filesystem::path> deviceFolders(const std::filesystem::path& configurationFolder);
std::vector<std::filesystem::path> scenarioFolders(const std::filesystem::path& configurationFolder);

} // namespace velk::simulator
