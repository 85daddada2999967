#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace velk::testing {

/// A fresh, empty folder that goes with everything in it when this object does.
class TemporaryDirectory {
public:
    TemporaryDirectory() : TemporaryDirectory(std::filesystem::temp_directory_path()) {}
    /// In `parent`, which exists.
    explicit TemporaryDirectory(const std::filesystem::path& parent) {
        std::string name{(parent / "velk-test-XXXXXX").string()};
        if (mkdtemp(name.data()) == nullptr) {
            throw std::system_error{errno, std::generic_category(), name};
        }
        folder = name;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return folder; }
    std::filesystem::path operator/(const std::string& name) const { return folder / name; }

private:
    std::filesystem::path folder;
};

} // namespace velk::testing
