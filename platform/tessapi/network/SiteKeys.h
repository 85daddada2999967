#pragma once

#include "platform/tessapi/network/Command.h"

#include <string>

namespace tessapi {

/// The keys of one site. All have the same hash tag, so that a cluster has them on one node.
/// Threads: read-only after construction.
class SiteKeys {
public:
    explicit SiteKeys(const std::string& site);

    /// The call of a function of the library on the site; its arguments are added to it. `reads` marks one
    /// that changes nothing.
    Command function(const std::string& name, bool reads) const;

    const std::string self; ///< of the site itself
    const std::string values;
    const std::string news;
    const std::string attributes;
    const std::string events;
    const std::string uuids;
    const std::string devices;
    const std::string names;
    const std::string records;

private:
    Command all; ///< their number, then they in the order in which the functions take them
};

} // namespace tessapi
