#pragma once

#include "platform/tessapi/network/NetworkUrl.h"

#include <optional>
#include <string>

namespace tessapi {

/// Which store: `sqlite:PATH`, `memory:NAME`, or one on servers of the network, see `NetworkUrl`. A plain
/// value.
class StoreUrl {
public:
    /// Throws std::invalid_argument that shows the text for anything else.
    explicit StoreUrl(const std::string& text);

    /// `TESS_URL`; without it the store of the machine: `$STATE_DIRECTORY/tess.db`, else
    /// `$XDG_STATE_HOME/velk/tess.db`, else `$HOME/.local/state/velk/tess.db`. An empty variable counts as
    /// not set. Throws std::invalid_argument when the environment has none of them.
    static std::string ofEnvironment();

    bool inMemory() const { return memory; }
    /// Where a store of the network is; empty for any other.
    const std::optional<NetworkUrl>& network() const { return server; }
    /// The file's path, or the name of the store in memory or on the network.
    const std::string& place() const { return location; }
    std::string text() const {
        return server ? server->text() : (memory ? "memory:" : "sqlite:") + location;
    }

private:
    bool memory{false};
    std::optional<NetworkUrl> server;
    std::string location;
};

} // namespace tessapi
