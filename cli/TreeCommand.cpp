#include "cli/TreeCommand.h"

#include "cli/Communication.h"
#include "cli/Json.h"
#include "cli/PointReport.h"
#include "cli/StoreView.h"
#include "cli/Table.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

/// The branch at `index` with everything below it; `index` moves behind them.
Json branchJson(const StoreView& view, const PointReport& report, std::size_t& index) {
    const StoreView::Branch& branch = view.branches()[index];
    Json object;
    object["device"] = branch.title;
    object["id"] = branch.device->id;
    object["points"] = Json::array();
    for (std::size_t i = 0; i < branch.pointCount; ++i) {
        object["points"].push_back(report.json(view.points()[branch.firstPoint + i]));
    }
    object["children"] = Json::array();
    ++index;
    while (index < view.branches().size() && view.branches()[index].depth > branch.depth) {
        const bool hidden = view.branches()[index].hidden;
        Json child = branchJson(view, report, index);
        if (!hidden) {
            object["children"].push_back(std::move(child));
        }
    }
    return object;
}

void printText(const Session& session, const StoreView& view, const PointReport& report) {
    Table table;
    for (const StoreView::Branch& branch : view.branches()) {
        if (branch.hidden) {
            continue;
        }
        const std::string indent(2 * std::size_t{branch.depth}, ' ');
        table.add({indent + session.style.title(branch.title)});
        for (std::size_t i = 0; i < branch.pointCount; ++i) {
            const Point& point = view.points()[branch.firstPoint + i];
            table.add({indent + "  " + point.name, report.value(point), report.changed(point),
                       report.freshness(point)});
        }
    }
    table.print(session.out);
}

} // namespace

ExitCode runTree(Session& session) {
    const StoreView view{session.store.browser().snapshot()};
    const Communication communication{view};
    const PointReport report{communication, session.style, session.nowMs()};
    if (session.json) {
        std::size_t index = 0;
        printDocument(session.out, view.branches().empty() ? Json(nullptr) : branchJson(view, report, index));
    } else {
        printText(session, view, report);
    }
    return ExitCode::Done;
}

} // namespace velk::cli
