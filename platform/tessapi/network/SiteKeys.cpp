#include "platform/tessapi/network/SiteKeys.h"

namespace tessapi {

namespace {

std::string keyOf(const std::string& site, const char* part) {
    return "tess:{" + site + "}:" + part;
}

} // namespace

SiteKeys::SiteKeys(const std::string& site) :
    values{keyOf(site, "values")},
    news{keyOf(site, "news")},
    attributes{keyOf(site, "attributes")},
    events{keyOf(site, "events")},
    uuids{keyOf(site, "uuids")},
    devices{keyOf(site, "devices")},
    names{keyOf(site, "names")},
    records{keyOf(site, "records")} {
    for (const auto* part : {"site", "values", "news", "channels", "alarms", "states", "attributes", "marks",
                             "events", "members", "devices", "uuids", "tree", "names", "records"}) {
        all.push_back(keyOf(site, part));
    }
}

Command SiteKeys::function(const std::string& name, bool reads) const {
    Command command;
    command.reserve(all.size() + 16);
    command.add(reads ? "FCALL_RO" : "FCALL").add("tess1_" + name).add(std::uint64_t{all.size()});
    for (const auto& key : all) {
        command.add(key);
    }
    return command;
}

} // namespace tessapi
