#pragma once

#include "cli/ExitCode.h"
#include "cli/SiteReport.h"
#include "cli/Style.h"
#include "cli/Surroundings.h"

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace velk::cli {

/// What `tess --all-sites status` works with.
struct SitesSession {
    std::vector<std::string> sites;    ///< of the deployment, in the order to show
    std::vector<std::string> failures; ///< parts of the deployment that could not be asked for theirs
    /// Everything in the store of a site; may throw std::exception. Called from several threads at once.
    std::function<tessapi::StoreSnapshot(const std::string& site)> look;
    std::ostream& out;
    std::ostream& err;
    bool json{false};
    Style style{false};
    std::int64_t nowMs{0};
};

/// One line for each site. `StoreUnreachable` when a store or a part of the deployment cannot be read; the
/// others are shown all the same.
ExitCode runAllSites(const SitesSession& session);

/// The same for the servers that the store's URL names, with a site in it or without. Throws `Failure` for
/// the URL of a single store.
ExitCode runAllSitesStatus(Surroundings& surroundings);

} // namespace velk::cli
