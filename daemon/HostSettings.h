#pragma once

#include "daemon/Finding.h"

#include <string>

namespace velk::daemon {

class ConfigurationFile;

/// The member "host" of the configuration file: what is chosen by hand of the facts of the host. A plain
/// value; an empty text means that nothing is chosen.
struct HostSettings {
    static constexpr const char* MEMBER = "host";

    std::string interface; ///< the network interface whose addresses are the host's
    std::string productName;
    std::string firmwareVersion;

    /// What is not usable counts as not there; `check` tells.
    static HostSettings of(const ConfigurationFile& file);

    /// Members that are no text are errors, unknown ones warnings.
    static Findings check(const ConfigurationFile& file);
};

} // namespace velk::daemon
