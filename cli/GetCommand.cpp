#include "cli/GetCommand.h"

#include "cli/Communication.h"
#include "cli/Failure.h"
#include "cli/Json.h"
#include "cli/PointReport.h"
#include "cli/StoreView.h"
#include "cli/Table.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

/// Adds what `wanted` means; false, with words for the person, when it means nothing.
bool choose(const Session& session, const StoreView& view, const std::string& wanted,
            std::vector<const Point*>& chosen) {
    try {
        for (const Point* point : view.select(wanted)) {
            if (std::find(chosen.begin(), chosen.end(), point) == chosen.end()) {
                chosen.push_back(point);
            }
        }
        return true;
    } catch (const Failure& failure) {
        session.err << "tess: " << failure.what() << "\n";
        return false;
    }
}

} // namespace

ExitCode runGet(Session& session, const std::vector<std::string>& paths) {
    const StoreView view{session.store.browser().snapshot()};
    std::vector<const Point*> chosen;
    ExitCode code = ExitCode::Done;
    for (const std::string& wanted : paths) {
        if (!choose(session, view, wanted, chosen)) {
            code = ExitCode::NoSuchPath;
        }
    }
    const Communication communication{view};
    const PointReport report{communication, session.style, session.nowMs()};
    if (session.json) {
        Json document = Json::array();
        for (const Point* point : chosen) {
            document.push_back(report.json(*point));
        }
        printDocument(session.out, document);
        return code;
    }
    Table table;
    for (const Point* point : chosen) {
        table.add({point->path, report.value(*point), report.changed(*point), report.freshness(*point)});
    }
    table.print(session.out);
    return code;
}

} // namespace velk::cli
