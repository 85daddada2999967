#include "cli/EventsCommand.h"

#include "cli/Json.h"
#include "cli/PathHint.h"
#include "cli/SinceText.h"
#include "cli/Table.h"
#include "cli/TimeText.h"
#include "cli/Timeline.h"

#include <limits>

namespace velk::cli {

ExitCode runEvents(Session& session, const EventsOptions& options) {
    const std::int64_t since = sinceMs(options.since, session.nowMs());
    const StoreView view{session.store.browser().snapshot()};
    const PathFilter filter{options.path};
    const std::vector<Happening> timeline = timelineOf(session, view, since, filter);
    if (timeline.empty() && !filter.takesAll()) {
        const std::string hint = pathHint(view, options.path);
        const bool wasKnown =
            !timelineOf(session, view, std::numeric_limits<std::int64_t>::min(), filter).empty();
        session.err << (hint.empty() || wasKnown ? "" : "tess: " + hint + "\n");
    }
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
