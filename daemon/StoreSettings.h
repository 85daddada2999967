#pragma once

#include "daemon/Finding.h"

namespace velk::daemon {

class ConfigurationFile;

/// The member "store" of the configuration file. A plain value.
struct StoreSettings {
    static constexpr const char* MEMBER = "store";

    bool corruptAside{false}; ///< "whenCorrupt": a corrupt file is set aside and a new store begun

    /// What is not usable counts as not there; `check` tells.
    static StoreSettings of(const ConfigurationFile& file);

    /// A "whenCorrupt" that is none is an error, unknown members are warnings.
    static Findings check(const ConfigurationFile& file);

    /// Lets all clients of the store in this process know, by the environment, in which something else may be
    /// said already, which counts then. To be called before there is another thread.
    void apply() const;
};

} // namespace velk::daemon
