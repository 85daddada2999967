#include "cli/HistoryCommand.h"

#include "cli/Communication.h"
#include "cli/Failure.h"
#include "cli/HistoryAnswer.h"
#include "cli/HistoryScreen.h"
#include "cli/SinceText.h"
#include "cli/StoreView.h"
#include "cli/TimeText.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t USUAL_POINTS = 100;

const Point& requireChannel(const StoreView& view, const std::string& path) {
    const Point& point = view.require(path);
    if (point.channel == nullptr) {
        throw Failure{ExitCode::NoSuchPath,
                      "\"" + path + "\" is a text that the store keeps of the device; it has no history"};
    }
    return point;
}

HistoryAnswer ask(Session& session, const StoreView& view, const Point& point, const HistoryOptions& options,
                  velk::common::Clock::Duration timeout) {
    const std::int64_t nowMs = session.nowMs();
    const bool isForPeople = !session.json && !options.csv;
    const std::size_t usual = isForPeople ? HistoryScreen::columnsFor(session) : USUAL_POINTS;
    const Json question{
        {"channel", point.channel->id},
        {"path", point.path},
        {"fromMs", sinceMs(options.since, nowMs)},
        {"toMs", nowMs},
        {"columns", std::min<std::size_t>(options.points.value_or(usual), HistoryOptions::MOST_POINTS)}};
    const Inquiry::Result inquiry =
        Inquiry::ask(session, Communication{view}, HISTORY_SUBJECT, question, timeout);
    if (!inquiry.answer) {
        throw Failure{ExitCode::Failed, inquiry.silence + "; it alone knows what was"};
    }
    const std::optional<HistoryAnswer> answer = HistoryAnswer::parse(*inquiry.answer, point.channel->type);
    if (!answer) {
        throw Failure{ExitCode::Failed, "the daemon's answer makes no sense; is it of another version?"};
    }
    return *answer;
}

void requireSomething(const HistoryAnswer& answer, const Point& point) {
    if (!answer.enabled) {
        throw Failure{ExitCode::Failed, "the daemon keeps no history: its configuration has it switched off"};
    }
    const bool isEmpty = answer.kind == "number" ? !answer.whole : answer.changes.empty();
    if (!answer.known || isEmpty) {
        const std::string since = answer.known ? " since " + localText(answer.fromMs) : "";
        throw Failure{ExitCode::NoSuchPath, "nothing is known of the past of \"" + point.path + "\"" + since};
    }
}

} // namespace

ExitCode runHistory(Session& session, const HistoryOptions& options, velk::common::Clock::Duration timeout) {
    const StoreView view{session.store.browser().snapshot()};
    const Point& point = requireChannel(view, options.path);
    const HistoryAnswer answer = ask(session, view, point, options, timeout);
    requireSomething(answer, point);
    const HistoryScreen screen{session, point, answer};
    if (session.json) {
        screen.printJson();
    } else if (options.csv) {
        screen.printCsv();
    } else {
        screen.print();
    }
    return ExitCode::Done;
}

} // namespace velk::cli
