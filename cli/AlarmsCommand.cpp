#include "cli/AlarmsCommand.h"

#include "cli/AlarmList.h"
#include "cli/Communication.h"
#include "cli/Json.h"
#include "cli/PointReport.h"
#include "cli/Table.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

ExitCode runAlarms(Session& session) {
    const StoreView view{session.store.browser().snapshot()};
    const Communication communication{view};
    const PointReport report{communication, session.style, session.nowMs()};
    Json document = Json::array();
    Table table;
    for (const RaisedAlarm& raised : raisedAlarms(view)) {
        Json object = jsonOf(raised);
        object["fresh"] = communication.isFresh(*raised.point);
        document.push_back(std::move(object));
        table.add({session.style.level(raised.alarm.level, levelText(raised.alarm.level)), raised.point->path,
                   report.briefValue(*raised.point), raised.alarm.code, report.changed(*raised.point),
                   report.freshness(*raised.point)});
    }
    if (session.json) {
        printDocument(session.out, document);
        return ExitCode::Done;
    }
    table.print(session.out);
    if (document.empty()) {
        session.err << "tess: no active alarms\n";
    }
    return ExitCode::Done;
}

} // namespace velk::cli
