#include "cli/AllSitesCommand.h"

#include "cli/Failure.h"
#include "cli/Json.h"
#include "cli/OpenStore.h"
#include "cli/Table.h"
#include "platform/tessapi/StoreSites.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>
#include <utility>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

/// A site takes longer to answer than to be looked at, so several are asked at once.
constexpr std::size_t LOOKERS = 8;

SiteReport lookAt(const SitesSession& session, const std::string& site) {
    try {
        return siteReport(site, session.look(site), session.style);
    } catch (const std::exception& failure) {
        return failedSite(site, failure.what());
    }
}

std::vector<SiteReport> lookAtAll(const SitesSession& session) {
    std::vector<SiteReport> reports(session.sites.size());
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < reports.size(); i = next++) {
            reports[i] = lookAt(session, session.sites[i]);
        }
    };
    std::vector<std::jthread> lookers;
    for (std::size_t i = 0; i < std::min(LOOKERS, reports.size()); ++i) {
        lookers.emplace_back(work);
    }
    lookers.clear();
    return reports;
}

void print(const SitesSession& session, const std::vector<SiteReport>& reports) {
    Json document = Json::array();
    Table table;
    table.add(siteHeadings(session.style));
    for (const SiteReport& report : reports) {
        document.push_back(jsonOf(report));
        table.add(siteCells(report, session.style, session.nowMs));
    }
    if (session.json) {
        printDocument(session.out, document);
    } else if (!reports.empty()) {
        table.print(session.out);
    }
}

tessapi::StoreSites sitesOf(const std::string& url, bool named) {
    try {
        return tessapi::storeSites(url);
    } catch (const std::invalid_argument& failure) {
        throw Failure{named ? ExitCode::Usage : ExitCode::BadConfiguration, failure.what()};
    }
}

} // namespace

ExitCode runAllSites(const SitesSession& session) {
    const std::vector<SiteReport> reports = lookAtAll(session);
    print(session, reports);
    ExitCode code = ExitCode::Done;
    for (const SiteReport& report : reports) {
        if (!report.failure.empty()) {
            session.err << "tess: " << report.site << ": " << report.failure << "\n";
            code = ExitCode::StoreUnreachable;
        }
    }
    for (const std::string& failure : session.failures) {
        session.err << "tess: sites may be missing: " << failure << "\n";
        code = ExitCode::StoreUnreachable;
    }
    if (reports.empty() && session.failures.empty()) {
        session.err << "tess: the deployment has no sites\n";
    }
    return code;
}

ExitCode runAllSitesStatus(Surroundings& surroundings) {
    const std::string url = storeUrl(surroundings.store);
    tessapi::StoreSites found = sitesOf(url, !surroundings.store.empty());
    const auto look = [&url](const std::string& site) {
        return openStore(tessapi::urlOfSite(url, site), false)->browser().snapshot();
    };
    return runAllSites({std::move(found.names), std::move(found.failures), look, surroundings.out,
                        surroundings.err, surroundings.json, surroundings.style, surroundings.nowMs()});
}

} // namespace velk::cli
