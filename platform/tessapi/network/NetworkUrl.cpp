#include "platform/tessapi/network/NetworkUrl.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <stdexcept>

namespace tessapi {

namespace {

using std::string_view;

constexpr std::uint16_t SERVER_PORT = 6379;
constexpr std::uint16_t SENTINEL_PORT = 26379;
constexpr std::size_t LONGEST_SITE = 128;

/// What stands before the first `mark`, which is taken away with it; all when there is none.
string_view takeUntil(string_view& text, char mark) {
    const auto end = std::min(text.find(mark), text.size());
    const auto taken = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return taken;
}

bool isSiteCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
}

/// Without what is between a user and '@'.
std::string withoutPasswordOfUser(const std::string& text) {
    const auto start = text.find("//");
    const auto at = text.rfind('@');
    const auto colon = text.find(':', start == std::string::npos ? 0 : start);
    if (at == std::string::npos || colon > at) {
        return text;
    }
    return text.substr(0, colon) + ":***" + text.substr(at);
}

std::string_view schemeOf(string_view text) {
    return text.substr(0, text.find(':'));
}

} // namespace

std::string Endpoint::text() const {
    if (!socket.empty()) {
        return socket;
    }
    const auto name = host.find(':') == std::string::npos ? host : "[" + host + "]";
    return name + ":" + std::to_string(port);
}

bool NetworkUrl::isScheme(string_view scheme) {
    return scheme == "redis" || scheme == "rediss" || scheme == "redis+unix" || scheme == "redis+sentinel" ||
           scheme == "rediss+sentinel" || scheme == "redis+cluster" || scheme == "rediss+cluster";
}

std::string NetworkUrl::withoutPassword(const std::string& text) {
    const auto shown = withoutPasswordOfUser(text);
    string_view options{shown};
    std::string safe{takeUntil(options, '?')};
    const bool hasOptions = safe.size() < shown.size();
    for (char mark = '?'; hasOptions && (mark == '?' || !options.empty()); mark = '&') {
        const auto option = takeUntil(options, '&');
        const auto name = option.substr(0, option.find('='));
        const bool isSecret = name.find("pass") != string_view::npos && name != "password-file";
        safe += mark;
        safe += isSecret ? std::string{name} + "=***" : std::string{option};
    }
    return safe;
}

void NetworkUrl::refuse(const std::string& reason) const {
    const auto head = std::string{isEncrypted ? "rediss" : "redis"};
    std::string form = head + "://[USER@]HOST[:PORT]/SITE";
    if (isSocket) {
        form = "redis+unix://[USER@]/PATH/OF/SOCKET/SITE";
    } else if (kind == Kind::sentinel) {
        form = head + "+sentinel://[USER@]HOST[:PORT][,HOST[:PORT]...]/SERVICE/SITE";
    } else if (kind == Kind::cluster) {
        form = head + "+cluster://[USER@]HOST[:PORT][,HOST[:PORT]...]/SITE";
    }
    throw std::invalid_argument{"\"" + withoutPassword(given) + "\" names no store: " + reason +
                                "; expected " + form + "[?OPTION=VALUE&...]"};
}

NetworkUrl::NetworkUrl(const std::string& text) : given{text} {
    const auto scheme = schemeOf(given);
    isEncrypted = scheme.substr(0, 6) == "rediss";
    isSocket = scheme == "redis+unix";
    if (scheme.find("+sentinel") != string_view::npos) {
        kind = Kind::sentinel;
    } else if (scheme.find("+cluster") != string_view::npos) {
        kind = Kind::cluster;
    }
    if (!isScheme(scheme) || given.compare(scheme.size(), 3, "://") != 0) {
        refuse("it does not begin so");
    }
    if (std::any_of(given.begin(), given.end(), [](char c) { return c >= 0 && c <= ' '; })) {
        refuse("it has a blank or a control character in it");
    }
    string_view rest = string_view{given}.substr(scheme.size() + 3);
    auto place = takeUntil(rest, '?');
    readOptions(rest);
    readPlace(place);
}

void NetworkUrl::readOptions(string_view options) {
    const std::map<string_view, std::string*> known{{"password-file", &passwordFile},
                                                    {"ca-file", &caFile},
                                                    {"cert-file", &certFile},
                                                    {"key-file", &keyFile}};
    while (!options.empty()) {
        auto value = takeUntil(options, '&');
        const auto name = takeUntil(value, '=');
        const auto option = known.find(name);
        if (name == "changes") {
            readChanges(value);
            continue;
        }
        if (option == known.end()) {
            refuse("there is no option '" + std::string{name} +
                   "'; there are password-file, ca-file, cert-file, key-file and changes");
        }
        if (value.empty()) {
            refuse("the option '" + std::string{name} + "' has no value");
        }
        if (name != "password-file" && !isEncrypted) {
            refuse("the option '" + std::string{name} + "' is for encrypted connections (rediss)");
        }
        *option->second = value;
    }
    if (certFile.empty() != keyFile.empty()) {
        refuse("cert-file and key-file go together");
    }
}

void NetworkUrl::readChanges(string_view text) {
    std::int64_t number = 0;
    const auto* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc{} || stop != end || number < FEWEST_CHANGES || number > MOST_CHANGES) {
        refuse("'changes' is a number from " + std::to_string(FEWEST_CHANGES) + " to " +
               std::to_string(MOST_CHANGES));
    }
    changes = number;
}

void NetworkUrl::readPlace(string_view place) {
    const auto at = place.rfind('@');
    if (at != string_view::npos && place.front() != '/') {
        const auto name = place.substr(0, at);
        place.remove_prefix(at + 1);
        if (name.find(':') != string_view::npos) {
            refuse("a password has no place in it; use the option password-file");
        }
        if (name.empty()) {
            refuse("the user is missing");
        }
        user = name;
    }
    takeSite(place);
    if (isSocket) {
        if (place.empty() || place.front() != '/') {
            refuse("the path of the socket is missing");
        }
        endpoints.push_back({"", 0, std::string{place}});
        return;
    }
    auto servers = takeUntil(place, '/');
    if (kind == Kind::sentinel) {
        service = place;
    }
    if (kind == Kind::sentinel && service.empty()) {
        refuse("the service is missing");
    }
    if (kind == Kind::sentinel ? place.find('/') != string_view::npos : !place.empty()) {
        refuse("there are too many parts");
    }
    readServers(servers);
}

void NetworkUrl::takeSite(string_view& place) {
    const auto slash = place.rfind('/');
    site = slash == string_view::npos ? "" : place.substr(slash + 1);
    if (site.empty()) {
        refuse("the site is missing");
    }
    if (site.size() > LONGEST_SITE || !std::all_of(site.begin(), site.end(), isSiteCharacter)) {
        refuse("the site has letters, digits, '.', '_' and '-' only, at most 128");
    }
    place = place.substr(0, slash);
}

void NetworkUrl::readServers(string_view servers) {
    if (!servers.empty() && servers.back() == ',') {
        refuse("the host is missing");
    }
    do {
        auto server = takeUntil(servers, ',');
        Endpoint endpoint;
        endpoint.port = kind == Kind::sentinel ? SENTINEL_PORT : SERVER_PORT;
        if (!server.empty() && server.front() == '[') {
            server.remove_prefix(1);
            endpoint.host = takeUntil(server, ']');
            if (!server.empty() && server.front() != ':') {
                refuse("after ']' comes ':'");
            }
            server.remove_prefix(server.empty() ? 0 : 1);
        } else {
            endpoint.host = takeUntil(server, ':');
        }
        if (endpoint.host.empty()) {
            refuse("the host is missing");
        }
        if (!server.empty()) {
            const auto* end = server.data() + server.size();
            const auto [stop, failure] = std::from_chars(server.data(), end, endpoint.port);
            if (failure != std::errc{} || stop != end || endpoint.port == 0) {
                refuse("'" + std::string{server} + "' is no port");
            }
        }
        if (!endpoints.empty() && kind == Kind::server) {
            refuse("there is more than one server");
        }
        endpoints.push_back(std::move(endpoint));
    } while (!servers.empty());
}

} // namespace tessapi
