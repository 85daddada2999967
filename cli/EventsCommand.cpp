#include "cli/EventsCommand.h"

#include "cli/Json.h"
#include "cli/SinceText.h"
#include "cli/Table.h"
#include "cli/TimeText.h"
#include "cli/Timeline.h"

namespace velk::cli {

ExitCode runEvents(Session& session, const EventsOptions& options) {
    const std::int64_t since = sinceMs(options.since, session.nowMs());
    const StoreView view{session.store.browser().snapshot()};
    const std::vector<Happening> timeline = timelineOf(session, view, since, PathFilter{options.path});
    if (session.json) {
        nlohmann::ordered_json document = nlohmann::ordered_json::array();
        for (const Happening& happening : timeline) {
            document.push_back(happening.json);
        }
        printDocument(session.out, document);
        return ExitCode::Done;
    }
    Table table;
    for (const Happening& happening : timeline) {
        table.add({session.style.faint(localText(happening.timeMs)), happening.kind,
                   happening.path.empty() ? "-" : happening.path, happening.words});
    }
    table.print(session.out);
    if (timeline.empty()) {
        session.err << "tess: nothing happened, as far as the store knows\n";
    }
    return ExitCode::Done;
}

} // namespace velk::cli
