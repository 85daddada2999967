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
#include <utility>

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

/// The daemon, asked for the past of one data point.
class Past {
public:
    Past(Session& with, const StoreView& picture, const Point& dataPoint,
         velk::common::Clock::Duration longestWait) :
        session{with}, view{picture}, point{dataPoint}, timeout{longestWait} {}

    HistoryAnswer ask(std::int64_t fromMs, std::int64_t toMs, std::size_t columns) const {
        const Json question{{"channel", point.channel->id},
                            {"path", point.path},
                            {"fromMs", fromMs},
                            {"toMs", toMs},
                            {"columns", std::min<std::size_t>(columns, HistoryOptions::MOST_POINTS)}};
        const Inquiry::Result inquiry =
            Inquiry::ask(session, Communication{view}, HISTORY_SUBJECT, question, timeout);
        if (!inquiry.answer) {
            throw Failure{ExitCode::Failed, inquiry.silence + "; it alone knows what was"};
        }
        std::optional<HistoryAnswer> answer = HistoryAnswer::parse(*inquiry.answer, point.channel->type);
        if (!answer) {
            throw Failure{ExitCode::Failed, "the daemon's answer makes no sense; is it of another version?"};
        }
        return std::move(*answer);
    }

    /// Puts the changes that `answer` leaves out before its own, as long as there are some and not too many.
    void addLeftOut(HistoryAnswer& answer) const {
        for (int page = 0; page < MOST_PAGES && answer.leftOut != 0 && !answer.changes.empty(); ++page) {
            const std::int64_t firstMs = answer.changes.front().timeMs;
            HistoryAnswer earlier = ask(answer.fromMs, firstMs, HistoryOptions::MOST_POINTS);
            // The newest of them, of that very moment, are those that are there.
            std::size_t known = 0;
            while (known < answer.changes.size() && answer.changes[known].timeMs == firstMs) {
                ++known;
            }
            if (earlier.changes.size() <= known) {
                return;
            }
            answer.changes.insert(answer.changes.begin(), earlier.changes.begin(),
                                  earlier.changes.end() - static_cast<std::ptrdiff_t>(known));
            answer.leftOut = earlier.leftOut;
        }
    }

private:
    static constexpr int MOST_PAGES = 100;

    Session& session;
    const StoreView& view;
    const Point& point;
    const velk::common::Clock::Duration timeout;
};

HistoryAnswer ask(Session& session, const StoreView& view, const Point& point, const HistoryOptions& options,
                  velk::common::Clock::Duration timeout) {
    const Past past{session, view, point, timeout};
    const std::int64_t nowMs = session.nowMs();
    const bool isForPeople = !session.json && !options.csv;
    const std::size_t usual = isForPeople ? HistoryScreen::columnsFor(session) : USUAL_POINTS;
    const std::int64_t fromMs = std::max(sinceMs(options.since, nowMs), nowMs - HistoryOptions::LONGEST_MS);
    HistoryAnswer answer = past.ask(fromMs, nowMs, options.points.value_or(usual));
    if (!options.points) {
        past.addLeftOut(answer);
    }
    return answer;
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
