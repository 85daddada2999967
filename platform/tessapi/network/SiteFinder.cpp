#include "platform/tessapi/network/SiteFinder.h"

#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"

#include <algorithm>
#include <string_view>

namespace tessapi {

namespace {

/// For one server and everything that it is asked.
constexpr std::chrono::milliseconds PATIENCE{3000};
constexpr std::string_view KEY_BEGIN{"tess:{"};
constexpr std::string_view KEY_END{"}:site"};

} // namespace

void SiteFinder::scan(RedisConnection& server, const Deadline& deadline) {
    std::string cursor = "0";
    do {
        const auto answer =
            server.call({"SCAN", cursor, "MATCH", "tess:{*}:site", "COUNT", "1000"}, deadline);
        const auto keys = answer.view().at(1);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const auto key = keys.at(i).text();
            names.emplace(key.substr(KEY_BEGIN.size(), key.size() - KEY_BEGIN.size() - KEY_END.size()));
        }
        cursor = answer.view().at(0).text();
    } while (cursor != "0");
}

/// The masters that have slots, each with its replicas behind it.
std::vector<SiteFinder::Nodes> SiteFinder::shardsOf(RedisConnection& node, const Deadline& deadline) const {
    std::vector<Nodes> shards;
    const auto answer = node.call({"CLUSTER", "SLOTS"}, deadline);
    for (std::size_t i = 0; i < answer.view().size(); ++i) {
        const auto range = answer.view().at(i);
        Nodes nodes;
        for (std::size_t j = 2; j < range.size(); ++j) {
            const auto host = range.at(j).at(0);
            // A node that does not know its own address is where it was asked.
            const bool isKnown = !host.isNil() && !host.text().empty() && host.text() != "?";
            Endpoint endpoint{isKnown ? std::string{host.text()} : url.endpoints.front().host, 0, ""};
            endpoint.port = static_cast<std::uint16_t>(range.at(j).at(1).integer());
            nodes.push_back(endpoint);
        }
        // A node may have several ranges.
        if (std::find(shards.begin(), shards.end(), nodes) == shards.end()) {
            shards.push_back(nodes);
        }
    }
    return shards;
}

/// A replica knows the sites of its master too. Gives why none could be asked; empty when one was.
std::string SiteFinder::scanShard(const Nodes& nodes) {
    std::string reasons;
    for (const Endpoint& node : nodes) {
        try {
            const auto deadline = Deadline::in(PATIENCE);
            scan(*finder.connectTo(node, deadline), deadline);
            return {};
        } catch (const LinkError& failure) {
            reasons += (reasons.empty() ? "" : "; ") + std::string{failure.what()};
        } catch (const ServerRefusal& refusal) {
            reasons += (reasons.empty() ? "" : "; ") + node.text() + ": " + refusal.what();
        }
    }
    return reasons;
}

StoreSites SiteFinder::find() {
    StoreSites sites;
    const auto deadline = Deadline::in(PATIENCE);
    const auto server = finder.connect(deadline);
    if (url.kind != NetworkUrl::Kind::cluster) {
        scan(*server, deadline);
    } else {
        for (const Nodes& shard : shardsOf(*server, deadline)) {
            if (const std::string failure = scanShard(shard); !failure.empty()) {
                sites.failures.push_back(failure);
            }
        }
    }
    sites.names.assign(names.begin(), names.end());
    return sites;
}

} // namespace tessapi
