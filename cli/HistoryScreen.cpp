#include "cli/HistoryScreen.h"

#include "cli/FigureText.h"
#include "cli/Json.h"
#include "cli/NumberChart.h"
#include "cli/StateSpans.h"
#include "cli/Table.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t LABEL_WIDTH = 11;  ///< of the figures at the side
constexpr std::size_t MOST_STATES = 12;  ///< of more there is a list
constexpr std::size_t MOST_LINES = 1000; ///< of a list
constexpr std::int64_t A_DAY_MS = std::int64_t{24} * 60 * 60 * 1000;

std::string figure(double value, const Point& point) {
    const std::string& unit = point.channel->unit;
    return fourDigits(value) + (unit.empty() ? "" : " " + unit);
}

std::string rightAligned(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, displayWidth(text)), ' ') + text;
}

std::string leftAligned(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, displayWidth(text)), ' ');
}

/// The time of the day, with the day when there may be several.
std::string axisTime(std::int64_t ms, std::int64_t lengthMs) {
    const std::string whole = localText(ms);
    return lengthMs < A_DAY_MS ? whole.substr(11, 5) : whole.substr(5, 11);
}

/// What is drawn from the bottom to the top: a little more than a number that never changed.
std::pair<double, double> bordersOf(const HistoryAnswer::Column& whole) {
    if (whole.least < whole.greatest) {
        return {whole.least, whole.greatest};
    }
    const double room = std::max(std::abs(whole.least) / 100.0, 0.5);
    return {whole.least - room, whole.greatest + room};
}

/// A field of a line of values separated by commas.
std::string field(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char letter : text) {
        quoted += letter == '"' ? "\"\"" : std::string(1, letter);
    }
    return quoted + "\"";
}

tessapi::LevelAlarm levelOf(const qz::CValue& state, const tessapi::ChannelRecord& channel) {
    for (const qz::CAlarmTrigger& trigger : channel.alarmConfig.triggers) {
        if (trigger.threshold1 == state) {
            return trigger.level;
        }
    }
    return tessapi::LevelAlarm::none;
}

} // namespace

std::size_t HistoryScreen::columnsFor(const Session& session) {
    return NumberChart{session.width - LABEL_WIDTH - 2, session.unicode}.columns();
}

void HistoryScreen::print() const {
    session.out << session.style.title(point.path) << "  " << localText(answer.fromMs) << " to "
                << localText(answer.toMs) << "\n";
    if (answer.kind == "number") {
        printNumber();
    } else if (isList()) {
        printChanges();
    } else {
        printStates();
    }
    printFoot();
}

bool HistoryScreen::isList() const {
    return answer.kind == "text" ||
           (answer.kind == "state" && StateSpans{answer, 1}.rows().size() > MOST_STATES);
}

void HistoryScreen::printNumber() const {
    const std::size_t width = session.width - LABEL_WIDTH - 2;
    const auto [bottom, top] = bordersOf(*answer.whole);
    const std::vector<std::string> lines =
        NumberChart{width, session.unicode}.lines(answer.columns, bottom, top);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool isLabelled = i == 0 || i + 1 == lines.size() || i == lines.size() / 2;
        const double share = static_cast<double>(i) / static_cast<double>(lines.size() - 1);
        const std::string label = isLabelled ? figure(top - (top - bottom) * share, point) : "";
        session.out << session.style.faint(rightAligned(label, LABEL_WIDTH) +
                                           (session.unicode ? (isLabelled ? " ┤" : " │") : " |"))
                    << lines[i] << "\n";
    }
    printTimeAxis(LABEL_WIDTH + 2, width);
    session.out << "least " << figure(answer.whole->least, point) << ", mean "
                << figure(answer.whole->mean, point) << ", greatest " << figure(answer.whole->greatest, point)
                << ", last " << figure(answer.whole->last, point) << "\n";
}

void HistoryScreen::printTimeAxis(std::size_t indent, std::size_t width) const {
    const std::int64_t lengthMs = answer.toMs - answer.fromMs;
    const std::string corner = session.unicode ? "└" : "+";
    std::string line;
    for (std::size_t i = 0; i < width; ++i) {
        line += session.unicode ? "─" : "-";
    }
    session.out << session.style.faint(std::string(indent - 1, ' ') + corner + line) << "\n";
    const std::string first = axisTime(answer.fromMs, lengthMs);
    const std::string middle = axisTime(answer.fromMs + lengthMs / 2, lengthMs);
    const std::string last = axisTime(answer.toMs, lengthMs);
    std::string times = first;
    const std::size_t middleAt = width / 2 - std::min(width / 2, middle.size() / 2);
    const std::size_t lastAt = width - std::min(width, last.size());
    if (middleAt > first.size() && middleAt + middle.size() < lastAt) {
        times = leftAligned(times, middleAt) + middle;
    }
    if (lastAt > times.size()) {
        times = leftAligned(times, lastAt) + last;
    }
    session.out << session.style.faint(std::string(indent, ' ') + times) << "\n";
}

void HistoryScreen::printStates() const {
    std::size_t nameWidth = 1;
    const StateSpans states{answer, 1};
    for (const StateSpans::Row& row : states.rows()) {
        nameWidth = std::max(nameWidth, displayWidth(displayText(row.state, *point.channel)));
    }
    const std::size_t taken = nameWidth + 2 + 20; // and what stands behind the line
    const std::size_t width = session.width > taken + 10 ? session.width - taken : 10;
    const StateSpans spans{answer, width};
    const double knownMs = static_cast<double>(std::max<std::int64_t>(spans.knownMs(), 1));
    for (const StateSpans::Row& row : spans.rows()) {
        std::array<char, 48> share{};
        std::snprintf(share.data(), share.size(), "%5.1f %%, %zu %s",
                      100.0 * static_cast<double>(row.lastedMs) / knownMs, row.times,
                      row.times == 1 ? "time" : "times");
        session.out << leftAligned(displayText(row.state, *point.channel), nameWidth)
                    << session.style.faint(session.unicode ? " │" : " |")
                    << session.style.level(levelOf(row.state, *point.channel),
                                           spans.line(row, session.unicode))
                    << " " << session.style.faint(share.data()) << "\n";
    }
    printTimeAxis(nameWidth + 2, width);
}

void HistoryScreen::printChanges() const {
    Table table;
    const std::size_t count = answer.changes.size();
    for (std::size_t i = count - std::min(count, MOST_LINES); i < count; ++i) {
        const HistoryAnswer::Change& change = answer.changes[i];
        const std::int64_t endMs = i + 1 < answer.changes.size() ? answer.changes[i + 1].timeMs : answer.toMs;
        table.add({session.style.faint(localText(change.timeMs)),
                   change.value.isValid() ? displayText(change.value, *point.channel) : "not known",
                   endMs >= change.timeMs
                       ? session.style.faint("for " + durationText((endMs - change.timeMs) / 1000))
                       : ""});
    }
    table.print(session.out);
}

void HistoryScreen::printFoot() const {
    std::size_t hidden = answer.leftOut;
    if (isList() && answer.changes.size() > MOST_LINES) {
        hidden += answer.changes.size() - MOST_LINES;
    }
    if (hidden != 0) {
        session.err << "tess: " << hidden << " older changes are not shown; a shorter time shows all\n";
    }
    if (answer.oldestMs > answer.fromMs) {
        session.err << "tess: nothing is known of the time before " << localText(answer.oldestMs) << "\n";
    }
}

void HistoryScreen::printJson() const {
    const auto columnJson = [](const HistoryAnswer::Column& column) {
        return Json{{"least", column.least},
                    {"mean", column.mean},
                    {"greatest", column.greatest},
                    {"last", column.last}};
    };
    Json document;
    document["path"] = point.path;
    document["kind"] = answer.kind;
    document["unit"] = point.channel->unit.empty() ? Json(nullptr) : Json(point.channel->unit);
    document["from"] = utcText(answer.fromMs);
    document["to"] = utcText(answer.toMs);
    document["oldest"] = utcText(answer.oldestMs);
    if (answer.kind == "number") {
        document["whole"] = answer.whole ? columnJson(*answer.whole) : Json(nullptr);
        document["columns"] = Json::array();
        for (std::size_t i = 0; i < answer.columns.size(); ++i) {
            Json row{{"time", utcText(answer.beginOf(i))}};
            row.update(
                answer.columns[i]
                    ? columnJson(*answer.columns[i])
                    : Json{{"least", nullptr}, {"mean", nullptr}, {"greatest", nullptr}, {"last", nullptr}});
            document["columns"].push_back(std::move(row));
        }
    } else {
        document["changes"] = Json::array();
        for (const HistoryAnswer::Change& change : answer.changes) {
            const auto label = labelOf(change.value, *point.channel);
            document["changes"].push_back({{"time", utcText(change.timeMs)},
                                           {"value", jsonOf(change.value)},
                                           {"text", label ? Json(*label) : Json(nullptr)}});
        }
        document["leftOut"] = answer.leftOut;
    }
    printDocument(session.out, document);
}

void HistoryScreen::printCsv() const {
    answer.kind == "number" ? printCsvOfNumbers() : printCsvOfChanges();
}

void HistoryScreen::printCsvOfNumbers() const {
    session.out << "time,least,mean,greatest,last\n";
    for (std::size_t i = 0; i < answer.columns.size(); ++i) {
        session.out << utcText(answer.beginOf(i));
        if (const auto& column = answer.columns[i]) {
            for (const double number : {column->least, column->mean, column->greatest, column->last}) {
                session.out << "," << Json(number).dump();
            }
        } else {
            session.out << ",,,,";
        }
        session.out << "\n";
    }
}

void HistoryScreen::printCsvOfChanges() const {
    session.out << "time,value,text\n";
    for (const HistoryAnswer::Change& change : answer.changes) {
        const std::string value = change.value.isValid() ? field(plainText(change.value)) : "";
        session.out << utcText(change.timeMs) << "," << value << ","
                    << field(labelOf(change.value, *point.channel).value_or("")) << "\n";
    }
}

} // namespace velk::cli
