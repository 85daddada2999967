#include "cli/AlarmsCommand.h"

#include "cli/AlarmHistory.h"
#include "cli/AlarmList.h"
#include "cli/Communication.h"
#include "cli/FigureText.h"
#include "cli/Json.h"
#include "cli/PathHint.h"
#include "cli/PointReport.h"
#include "cli/SinceText.h"
#include "cli/Table.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <limits>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

std::vector<std::string> rowOf(const AlarmHappening& happening, const Style& style) {
    const tessapi::AlarmEvent& event = happening.event;
    const std::string lasted =
        happening.lastedMs ? "after " + durationText(*happening.lastedMs / 1000) : std::string{};
    return {style.faint(localText(event.timeMs)),
            style.level(event.level, levelText(event.level)),
            event.raised ? style.level(event.level, "raised") : style.good("cleared"),
            happening.path,
            happening.words,
            printable(event.code),
            lasted,
            event.message == happening.words ? "" : printable(event.message)};
}

} // namespace

ExitCode runAlarms(Session& session) {
    const StoreView view{session.store.browser().snapshot()};
    const std::vector<tessapi::AlarmEvent> events = allAlarmEvents(session.store.browser());
    const Communication communication{view};
    const PointReport report{communication, session.style, session.nowMs()};
    Json document = Json::array();
    Table table;
    for (const RaisedAlarm& raised : raisedAlarms(view)) {
        const std::int64_t sinceMs = raisedAtMs(raised, events);
        Json object = jsonOf(raised);
        object["since"] = sinceMs == 0 ? Json(nullptr) : Json(utcText(sinceMs));
        object["fresh"] = communication.isFresh(*raised.point);
        document.push_back(std::move(object));
        table.add({session.style.level(raised.alarm.level, levelText(raised.alarm.level)), raised.point->path,
                   report.briefValue(*raised.point), printable(raised.alarm.code),
                   session.style.faint(timeAndAge(sinceMs, session.nowMs())),
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

ExitCode runAlarmHistory(Session& session, const AlarmHistoryOptions& options) {
    const std::int64_t since = sinceMs(options.since, session.nowMs());
    const StoreView view{session.store.browser().snapshot()};
    const std::vector<tessapi::AlarmEvent> events = allAlarmEvents(session.store.browser());
    const PathFilter filter{options.path};
    const std::vector<AlarmHappening> happenings = alarmHappenings(view, events, since, filter);
    if (happenings.empty() &&
        alarmHappenings(view, events, std::numeric_limits<std::int64_t>::min(), filter).empty()) {
        const std::string hint = pathHint(view, options.path);
        session.err << (hint.empty() ? "" : "tess: " + hint + "\n");
    }
    if (session.json) {
        Json document = Json::array();
        for (const AlarmHappening& happening : happenings) {
            document.push_back(jsonOf(happening));
        }
        printDocument(session.out, document);
        return ExitCode::Done;
    }
    Table table;
    for (const AlarmHappening& happening : happenings) {
        table.add(rowOf(happening, session.style));
    }
    table.print(session.out);
    if (happenings.empty()) {
        session.err << "tess: no alarm was raised or cleared, as far as the store knows\n";
    }
    return ExitCode::Done;
}

} // namespace velk::cli
