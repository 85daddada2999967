#pragma once

#include "cli/Communication.h"
#include "cli/Style.h"
#include "platform/tessapi/StoreBrowser.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace velk::cli {

/// What one line says of one site of many: its device, whether somebody talks to it, its alarms, and how old
/// the newest value is. A plain value.
struct SiteReport {
    std::string site;
    std::string failure; ///< why the store of the site cannot be read; then nothing else is known
    std::string productName;
    std::string serialNumber;
    Connection communication;
    std::string worstLevel{"none"}; ///< of the active alarms: "critical", …
    std::size_t alarmCount{0};
    std::string alarms;          ///< for people: "1 critical, 2 warning", "none (last known)"
    std::int64_t lastValueMs{0}; ///< when a value of the device was written last; 0 for never
};

/// Looks at the store of a site.
SiteReport siteReport(const std::string& site, tessapi::StoreSnapshot snapshot, const Style& style);

/// A site whose store cannot be read.
SiteReport failedSite(const std::string& site, const std::string& failure);

/// The cells of `siteHeadings`. `nowMs` is what ages count from.
std::vector<std::string> siteCells(const SiteReport& report, const Style& style, std::int64_t nowMs);
std::vector<std::string> siteHeadings(const Style& style);

/// With `site`, `device`, `communication`, `alarms`, `lastValue` and `error`.
nlohmann::ordered_json jsonOf(const SiteReport& report);

} // namespace velk::cli
