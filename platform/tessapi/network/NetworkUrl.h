#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessapi {

/// Where one server listens: a host and a port, or a Unix socket. A plain value.
struct Endpoint {
    std::string host; ///< a name or an address without brackets; empty for a socket
    std::uint16_t port{0};
    std::string socket; ///< the path of a Unix socket

    /// "host:port", "[::1]:port" or the path.
    std::string text() const;

    friend bool operator==(const Endpoint&, const Endpoint&) = default;
};

/// A store that lives on servers of the network:
///
///     redis://[USER@]HOST[:PORT]/SITE[?OPTIONS]
///     redis+unix://[USER@]/PATH/OF/SOCKET/SITE[?OPTIONS]
///     redis+sentinel://[USER@]HOST[:PORT][,HOST[:PORT]…]/SERVICE/SITE[?OPTIONS]
///     redis+cluster://[USER@]HOST[:PORT][,HOST[:PORT]…]/SITE[?OPTIONS]
///
/// `rediss` instead of `redis` encrypts. Options, separated by '&': `password-file`, and for encrypted
/// connections `ca-file`, `cert-file`, `key-file`, each with a path; `changes`, how many of them the site
/// keeps for listeners that are away. A plain value.
class NetworkUrl {
public:
    enum class Kind {
        server,   ///< one server
        sentinel, ///< the master that sentinels name
        cluster,  ///< the node of a cluster that has the site
    };

    /// Changes that a site keeps unless the URL says otherwise: 13 minutes of ten a second. Thousands of
    /// sites share the memory of a server, and a listener that is away for longer gets present values.
    static constexpr std::int64_t CHANGES = 8192;
    static constexpr std::int64_t FEWEST_CHANGES = 256;
    static constexpr std::int64_t MOST_CHANGES = 1'048'576;

    /// Whether `scheme` (what stands before the first ':') names a networked store.
    static bool isScheme(std::string_view scheme);

    /// A password has no place in a URL, and none in a message about it. Better too much is hidden than too
    /// little.
    static std::string withoutPassword(const std::string& text);

    /// Throws std::invalid_argument that shows the text, without a password, and what was expected.
    explicit NetworkUrl(const std::string& text);

    /// The text as it was given. There is no secret in it.
    const std::string& text() const { return given; }

    Kind kind{Kind::server};
    bool isEncrypted{false};
    std::string user;                ///< empty for the server's default user
    std::vector<Endpoint> endpoints; ///< at least one
    std::string service;             ///< what the sentinels call the master
    std::string site;                ///< letters, digits, '.', '_' and '-'; at most 128
    std::string passwordFile;        ///< empty: no password
    std::string caFile;              ///< empty: whom the machine trusts
    std::string certFile;
    std::string keyFile;
    std::optional<std::int64_t> changes; ///< that the site keeps for listeners, if it is said

private:
    void readOptions(std::string_view options);
    void readChanges(std::string_view text);
    void readPlace(std::string_view place);
    void readServers(std::string_view servers);
    void takeSite(std::string_view& place);
    [[noreturn]] void refuse(const std::string& reason) const;

    std::string given;
    bool isSocket{false};
};

} // namespace tessapi
