#pragma once

#include "platform/tessapi/StoreSites.h"
#include "platform/tessapi/network/MasterFinder.h"

#include <chrono>
#include <set>
#include <string>
#include <vector>

namespace tessapi {

/// Finds the sites on the servers of a deployment.
/// Threads: one at a time.
class SiteFinder {
public:
    /// `deployment` is the URL of any site there.
    explicit SiteFinder(const NetworkUrl& deployment) : url{deployment}, finder{url} {}

    /// Asks each node of a cluster. Throws LinkError and ServerRefusal when no server answers.
    StoreSites find();

private:
    using Nodes = std::vector<Endpoint>;

    std::vector<Nodes> shardsOf(RedisConnection& node, const Deadline& deadline) const;
    std::string scanShard(const Nodes& nodes);
    void scan(RedisConnection& server, const Deadline& deadline);

    const NetworkUrl url;
    MasterFinder finder;
    std::set<std::string> names;
};

} // namespace tessapi
