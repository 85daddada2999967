#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace velk::testing {

/// Writes a file that its owner alone can read, as programs want passwords kept.
inline void writeSecret(const std::filesystem::path& file, const std::string& text) {
    namespace fs = std::filesystem;
    std::ofstream stream{file};
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    stream << text;
}

} // namespace velk::testing
