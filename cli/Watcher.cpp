#include "cli/Watcher.h"

#include "cli/Failure.h"
#include "cli/Json.h"
#include "cli/PointReport.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

/// Longer paths do not push the values of all others away.
constexpr std::size_t WIDEST_PATH = 50;

bool tellsOfCommunication(const Point& point) {
    return point.name.starts_with("CommunicationStatus.") ||
           (point.channel != nullptr && point.channel->name == Communication::DAEMON_PROCESS);
}

/// A number that is measured and so never quite still. Counts of something are not.
bool isNoisy(const Point& point) {
    const tessapi::ChannelRecord& channel = *point.channel;
    const bool counts = channel.type != qz::datatype::float32 && channel.unit.empty();
    return point.name.starts_with("Measure.") && !counts;
}

bool movedBy(double percent, const qz::CValue& from, const qz::CValue& to) {
    const std::optional<double> before = from.asNumber();
    const std::optional<double> after = to.asNumber();
    if (!before || !after || !std::isfinite(*before) || !std::isfinite(*after)) {
        return from != to;
    }
    const double step = std::abs(*after - *before);
    return step > 0.0 && step >= std::abs(*before) * percent / 100.0;
}

/// The alarms of `some` that are not among `others`.
std::vector<tessapi::ActiveAlarm> without(const std::vector<tessapi::ActiveAlarm>& some,
                                          const std::vector<tessapi::ActiveAlarm>& others) {
    std::vector<tessapi::ActiveAlarm> rest;
    for (const tessapi::ActiveAlarm& alarm : some) {
        const bool there = std::any_of(others.begin(), others.end(), [&](const tessapi::ActiveAlarm& other) {
            return other.code == alarm.code && other.level == alarm.level;
        });
        if (!there) {
            rest.push_back(alarm);
        }
    }
    return rest;
}

/// "230.1" of "230.1 V" when the value after it says the unit.
std::string withoutUnit(std::string text, const qz::CValue& next, const tessapi::ChannelRecord& channel) {
    const std::string unit = " " + channel.unit;
    if (!channel.unit.empty() && text.ends_with(unit) && displayText(next, channel).ends_with(unit)) {
        text.resize(text.size() - unit.size());
    }
    return text;
}

std::string alarmText(const tessapi::ActiveAlarm& alarm) {
    return levelText(alarm.level) + (alarm.code.empty() ? "" : " " + alarm.code);
}

Json alarmsJson(const std::vector<tessapi::ActiveAlarm>& alarms) {
    Json array = Json::array();
    for (const tessapi::ActiveAlarm& alarm : alarms) {
        array.push_back({{"level", levelText(alarm.level)}, {"code", alarm.code}});
    }
    return array;
}

} // namespace

Watcher::Watcher(Session& owner, const WatchOptions& wanted) :
    session{owner}, options{wanted}, view{session.store.browser().snapshot()} {
    for (const std::string& path : options.paths) {
        static_cast<void>(view.select(path));
    }
    choose();
    for (const tessapi::ChannelRecord& channel : view.snapshot().channels) {
        channels[channel.id] = {channel.value, channel.changedMs, channel.value, channel.activeAlarms};
    }
}

void Watcher::look() {
    view = StoreView{session.store.browser().snapshot()};
    choose();
}

void Watcher::choose() {
    chosen.clear();
    const std::vector<std::string> everything{"**"};
    for (const std::string& path : options.paths.empty() ? everything : options.paths) {
        try {
            choose(view.select(path));
        } catch (const Failure&) {
            // Nothing of that name now; what is watched may go away and come back.
            continue;
        }
    }
}

void Watcher::choose(const std::vector<const Point*>& points) {
    for (const Point* point : points) {
        if (point->channel != nullptr) {
            chosen.insert(point->channel->id);
            pathWidth = std::max(pathWidth, std::min(point->path.size(), WIDEST_PATH));
        }
    }
}

void Watcher::take(const tessapi::ChannelWrite& write) {
    const auto found = channels.find(write.channel);
    const Point* point = view.pointOf(write.channel);
    // An action that is asked for once more is news.
    const bool changed = found == channels.end() || found->second.present != write.value ||
                         (point != nullptr && point->isAction());
    if (changed) {
        Known& known = channels[write.channel];
        known.present = write.value;
        known.changedMs = write.timeMs;
    } else if (!options.every) {
        return;
    }
    const std::int64_t changedMs = channels[write.channel].changedMs;
    const auto [place, first] = places.try_emplace(write.channel, waiting.size());
    if (first || !options.isConflating()) {
        waiting.push_back({write.channel, write.value, write.timeMs, changedMs, changed ? 1U : 0U, 0});
        return;
    }
    Change& change = waiting[place->second];
    change.value = write.value;
    change.timeMs = write.timeMs;
    change.changedMs = changedMs;
    ++change.count;
}

bool Watcher::mustLook() const {
    return std::any_of(waiting.begin(), waiting.end(), [this](const Change& change) {
        const Point* point = view.pointOf(change.channel);
        return point == nullptr || tellsOfCommunication(*point) ||
               !point->channel->alarmConfig.triggers.empty() || !point->channel->activeAlarms.empty();
    });
}

void Watcher::sort(std::vector<Change>& changes) {
    std::unordered_map<std::uint64_t, std::int64_t> latest;
    for (Change& change : changes) {
        std::int64_t& time = latest.try_emplace(change.channel, change.timeMs).first->second;
        time = std::max(time, change.timeMs);
        change.orderMs = time;
    }
    std::stable_sort(changes.begin(), changes.end(),
                     [](const Change& a, const Change& b) { return a.orderMs < b.orderMs; });
}

void Watcher::show() {
    if (mustLook()) {
        look();
    }
    const Communication communication{view};
    const PointReport report{communication, session.style, session.nowMs()};
    places.clear();
    std::vector<Change> changes = std::exchange(waiting, {});
    sort(changes);
    for (const Change& change : changes) {
        if (isFull()) {
            return;
        }
        showOne(change, report);
    }
}

Watcher::AlarmNews Watcher::newsOf(const Point& point) {
    std::vector<tessapi::ActiveAlarm>& said = channels[point.channel->id].alarms;
    const std::vector<tessapi::ActiveAlarm>& present = point.channel->activeAlarms;
    AlarmNews news{without(present, said), without(said, present)};
    said = present;
    return news;
}

bool Watcher::isWorthALine(const Point& point, const Change& change, const Known& known) const {
    return !options.isConflating() || !isNoisy(point) || !known.shown.isValid() ||
           movedBy(options.deadband, known.shown, change.value);
}

void Watcher::showOne(const Change& change, const PointReport& report) {
    const Point* point = view.pointOf(change.channel);
    if (point == nullptr || !chosen.contains(change.channel)) {
        return;
    }
    const AlarmNews news = newsOf(*point);
    Known& known = channels[change.channel];
    if (!news.any() && !isWorthALine(*point, change, known)) {
        return;
    }
    tessapi::ChannelRecord channel = *point->channel;
    channel.value = change.value;
    channel.changedMs = change.changedMs;
    Point present = *point;
    present.channel = &channel;
    if (session.json) {
        printJson(report, present, change, known, news);
    } else {
        printText(report, present, change, known, news);
    }
    known.shown = change.value;
    ++lines;
}

void Watcher::printText(const PointReport& report, const Point& point, const Change& change,
                        const Known& known, const AlarmNews& news) const {
    const tessapi::ChannelRecord& channel = *point.channel;
    std::string path = point.path;
    path.resize(std::max(path.size(), pathWidth), ' ');
    std::string line = session.style.faint(localClockText(change.timeMs)) + "  " + path + "  ";
    if (change.count == 0) {
        line += report.briefValue(point) + " (unchanged)";
    } else if (const std::string before = briefText(known.shown, channel); before != briefText(point)) {
        line += withoutUnit(before, change.value, channel) + " -> " + report.briefValue(point);
    } else { // only all the digits show what has changed
        line += withoutUnit(displayText(known.shown, channel), change.value, channel) + " -> " +
                report.value(point);
    }
    if (change.count > 1) {
        line += session.style.faint(" (" + std::to_string(change.count) + " changes)");
    }
    for (const tessapi::ActiveAlarm& alarm : news.raised) {
        line += "  " + session.style.level(alarm.level, alarmText(alarm) + " raised");
    }
    for (const tessapi::ActiveAlarm& alarm : news.cleared) {
        line += "  " + session.style.good(alarmText(alarm) + " cleared");
    }
    const std::string freshness = report.freshness(point);
    session.out << line << (freshness.empty() ? "" : "  ") << freshness << std::endl;
}

void Watcher::printJson(const PointReport& report, const Point& point, const Change& change,
                        const Known& known, const AlarmNews& news) const {
    const tessapi::ChannelRecord& channel = *point.channel;
    Json object = report.json(point);
    object["time"] = utcText(change.timeMs);
    object["old"] = jsonOf(known.shown);
    if (!channel.states.empty()) {
        const std::optional<std::string> label = labelOf(known.shown, channel);
        object["oldText"] = label ? Json(*label) : Json(nullptr);
    }
    object["changes"] = change.count;
    object["raised"] = alarmsJson(news.raised);
    object["cleared"] = alarmsJson(news.cleared);
    printLine(session.out, object);
}

} // namespace velk::cli
