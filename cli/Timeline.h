#pragma once

#include "cli/PathFilter.h"
#include "cli/Session.h"
#include "cli/StoreView.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace velk::cli {

/// Something that happened, for people and for programs. A plain value.
struct Happening {
    std::int64_t timeMs{0};
    const char* kind{""};        ///< "alarm", "write", "link", "log"
    std::string path;            ///< what it concerns; empty for the device's own log
    std::string words;           ///< for people, with colours
    nlohmann::ordered_json json; ///< with `time`, `kind`, `path` and what belongs to the kind
};

/// Everything that the store knows to have happened at or after `sinceMs` to what `filter` takes, in the
/// order of the times: alarms that were raised and cleared, writes to the device, links that came and went,
/// and, when the filter takes all, the entries of the device's own log, which name no path and have the
/// device's times.
std::vector<Happening> timelineOf(const Session& session, const StoreView& view, std::int64_t sinceMs,
                                  const PathFilter& filter);

} // namespace velk::cli
