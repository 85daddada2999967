#pragma once

#include <filesystem>
#include <vector>

namespace velk::simulator {

/// The first of the folders' files of this name; the one of the first folder when none of them is there. An
/// absolute name is as it is.
std::filesystem::path findFile(const std::filesystem::path& name,
                               const std::vector<std::filesystem::path>& folders);

} // namespace velk::simulator
