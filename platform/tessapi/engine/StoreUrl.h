#pragma once

#include <string>

namespace tessapi {

/// Which store: `sqlite:PATH` or `memory:NAME`. A plain value.
class StoreUrl {
public:
    /// Throws std::invalid_argument that shows the text for anything else.
    explicit StoreUrl(const std::string& text);

    /// `TESS_URL`; without it the store of the machine: `$STATE_DIRECTORY/tess.db`, else
    /// `$XDG_STATE_HOME/velk/tess.db`, else `$HOME/.local/state/velk/tess.db`. An empty variable counts as
    /// not set. Throws std::invalid_argument when the environment has none of them.
    static std::string ofEnvironment();

    bool inMemory() const { return memory; }
    /// The file's path, or the name of the store in memory.
    const std::string& place() const { return location; }
    std::string text() const { return (memory ? "memory:" : "sqlite:") + location; }

private:
    bool memory{false};
    std::string location;
};

} // namespace tessapi
