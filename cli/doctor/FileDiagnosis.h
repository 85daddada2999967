#pragma once

#include "cli/doctor/Diagnosis.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velk::cli {

/// Who may do what with a file. A plain value.
struct FileFacts {
    std::string path;
    mode_t mode{0}; ///< with the kind of the file
    std::string owner;
    std::string group;

    bool isFolder() const;
    /// "0660".
    std::string rights() const;
};

/// Empty when it is not there, or cannot be looked at.
std::optional<FileFacts> factsOf(const std::string& path);

/// The files beside and of a store, and its folder, as far as they are there.
std::vector<FileFacts> filesOfStore(const std::string& file);

/// Nobody but the owner and the group may read or write; the group may, so that people can look and ask.
Diagnoses diagnoseFiles(const std::vector<FileFacts>& files);

/// The secrets of the configuration file `path`: that others can read neither the files which it names as
/// "passwordFile" nor itself when it holds a "password". Nothing for one that is no JSON.
Diagnoses diagnoseSecrets(const std::string& path);

} // namespace velk::cli
