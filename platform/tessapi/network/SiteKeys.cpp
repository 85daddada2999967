#include "platform/tessapi/network/SiteKeys.h"

#include "platform/tessapi/network/FunctionLibrary.h"

namespace tessapi {

namespace {

std::string keyOf(const std::string& site, const char* part) {
    return "tess:{" + site + "}:" + part;
}

} // namespace

SiteKeys::SiteKeys(const std::string& site) :
    self{keyOf(site, "site")},
    values{keyOf(site, "values")},
    news{keyOf(site, "news")},
    attributes{keyOf(site, "attributes")},
    events{keyOf(site, "events")},
    uuids{keyOf(site, "uuids")},
    devices{keyOf(site, "devices")},
    names{keyOf(site, "names")},
    records{keyOf(site, "records")} {
    const auto parts = {"site",   "values",  "news",    "channels", "alarms", "states", "attributes", "marks",
                        "events", "members", "devices", "uuids",    "tree",   "names",  "records"};
    all.add(std::uint64_t{parts.size()});
    for (const auto* part : parts) {
        all.add(keyOf(site, part));
    }
}

Command SiteKeys::function(const std::string& name, bool reads) const {
    return Command{reads ? "FCALL_RO" : "FCALL", FunctionLibrary::PREFIX + name}.append(all);
}

} // namespace tessapi
