#pragma once

#include "platform/common/Export.h"

#include <string>
#include <vector>

namespace tessapi {

/// Which stores there are on the servers of one deployment. A plain value.
struct StoreSites {
    std::vector<std::string> names;    ///< of the sites, sorted
    std::vector<std::string> failures; ///< of nodes of a cluster that do not answer: their sites are not here
};

/// Asks the servers that `url` names: it is the URL of a store there, or one without the site
/// ("redis://host", "redis+cluster://a,b,c", "redis+sentinel://a,b,c/service", "redis+unix:///run/r.sock").
/// Throws std::invalid_argument for anything else, and boost::system::system_error that names the deployment
/// and the cause when no server answers.
VELK_EXPORT StoreSites storeSites(const std::string& url);

/// The URL of the store of `site` in the deployment of `url`, see `storeSites`; throws as that does.
VELK_EXPORT std::string urlOfSite(const std::string& url, const std::string& site);

} // namespace tessapi
