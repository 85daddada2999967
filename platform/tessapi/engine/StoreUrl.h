#pragma once

#include "platform/tessapi/network/NetworkUrl.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tessapi {

/// Which store: `sqlite:PATH`, `memory:NAME`, or one on servers of the network, see `NetworkUrl`. A plain
/// value.
///
/// `sqlite:PATH?working=DIR` is a store that programs work on in the folder DIR, which lies in memory, and
/// that is copied to the database PATH on disk; `keep=SECONDS` (`?working=DIR&keep=300`) says how often
/// measured values are. `when-corrupt=set-aside` has a corrupt file set aside and a new store begun, which is
/// refused otherwise, as `when-corrupt=refuse` says too. A path with '?' in it cannot be named.
class StoreUrl {
public:
    static constexpr std::chrono::seconds SHORTEST_INTERVAL{1};
    static constexpr std::chrono::seconds LONGEST_INTERVAL{86'400};

    /// Throws std::invalid_argument that shows the text for anything else.
    explicit StoreUrl(const std::string& text);

    /// `TESS_URL`; without it the store of the machine: `$STATE_DIRECTORY/tess.db`, else
    /// `$XDG_STATE_HOME/velk/tess.db`, else `$HOME/.local/state/velk/tess.db`, worked on in
    /// `$RUNTIME_DIRECTORY`, else in /run/velk if this program may write there, else in
    /// `$XDG_RUNTIME_DIR/velk`, else on disk. `TESS_WHEN_CORRUPT` adds that option to a database that does
    /// not have it. An empty variable counts as not set. Throws std::invalid_argument when the environment
    /// names no place on disk.
    static std::string ofEnvironment();

    /// Where files of this program lie in memory as long as the machine runs, as `ofEnvironment` chooses it;
    /// empty for nowhere.
    static std::string runtimeFolder();
    /// All folders that it may be for programs of this user, each once; they need not be there.
    static std::vector<std::string> runtimeFolders();

    bool inMemory() const { return memory; }
    /// Where a store of the network is; empty for any other.
    const std::optional<NetworkUrl>& network() const { return server; }
    /// The file's path, or the name of the store in memory or on the network.
    const std::string& place() const { return location; }
    /// The folder in memory that is asked for; empty for none.
    const std::string& workingFolder() const { return working; }
    /// How often measured values shall be copied, if that is said.
    std::optional<std::chrono::seconds> valuesEvery() const { return interval; }
    /// Whether a corrupt file may be set aside for a new store.
    bool setsCorruptAside() const { return corruptAside; }
    std::string text() const { return server ? server->text() : whole; }

private:
    void readOption(const std::string& option);
    [[noreturn]] void refuse(const std::string& reason) const;

    std::string whole;
    bool memory{false};
    std::optional<NetworkUrl> server;
    std::string location;
    std::string working;
    std::optional<std::chrono::seconds> interval;
    bool corruptAside{false};
};

} // namespace tessapi
