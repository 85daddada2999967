#pragma once

#include "daemon/Finding.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace velk::daemon {

class ConfigurationFile;

/// The member "history" of the configuration file: whether and how the history of values is kept. A plain
/// value.
struct HistorySettings {
    static constexpr const char* MEMBER = "history";

    bool enabled{true};
    std::filesystem::path file;         ///< empty: in memory only
    std::size_t limitBytes{8U << 20U};  ///< of memory
    std::chrono::minutes saveEvery{15}; ///< the file, besides at the end

    /// What is not usable counts as not there; `check` tells.
    static HistorySettings of(const ConfigurationFile& configuration);

    /// Members of the wrong kind or out of range are errors, and so is a file that cannot be one; unknown
    /// ones are warnings, and so is a folder into which this user cannot write.
    static Findings check(const ConfigurationFile& configuration);
};

} // namespace velk::daemon
