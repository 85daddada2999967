#include "daemon/history/HistoryDesk.h"

#include "daemon/CommunicationJournal.h"
#include "daemon/QuestionDesk.h"
#include "daemon/WriteJournal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <utility>

namespace velk::daemon {

namespace {

using HistoryJson = nlohmann::ordered_json;

HistoryKind kindOf(const tessapi::ChannelRecord& channel) {
    switch (channel.type) {
    case qz::datatype::boolean:
        return HistoryKind::state;
    case qz::datatype::int32:
    case qz::datatype::int64:
    case qz::datatype::uint32:
    case qz::datatype::uint64:
        return channel.states.empty() && channel.commonStates.empty() ? HistoryKind::number
                                                                      : HistoryKind::state;
    case qz::datatype::float32:
    case qz::datatype::float64:
        return HistoryKind::number;
    default:
        return HistoryKind::text;
    }
}

/// It never stands still, and would take the room of all others.
bool isClock(const tessapi::ChannelRecord& channel) {
    return channel.name == "PowerDistribution.Attribute.CurrentDate";
}

const char* textOf(HistoryKind kind) {
    switch (kind) {
    case HistoryKind::number:
        return "number";
    case HistoryKind::state:
        return "state";
    case HistoryKind::text:
        break;
    }
    return "text";
}

/// With the digits that a float has, and no more letters than it takes.
double brief(double number) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.9g", number);
    const double nine = std::strtod(text.data(), nullptr);
    std::snprintf(text.data(), text.size(), "%.7g", number);
    const double seven = std::strtod(text.data(), nullptr);
    return static_cast<float>(seven) == static_cast<float>(number) ? seven : nine;
}

HistoryJson jsonOf(const std::optional<HistoryColumn>& column) {
    if (!column) {
        return nullptr;
    }
    return HistoryJson::array(
        {brief(column->least), brief(column->mean), brief(column->greatest), brief(column->last)});
}

HistoryJson jsonOf(const qz::CValue& value) {
    if (const bool* flag = std::get_if<bool>(&value.variant())) {
        return *flag;
    }
    if (!value.isValid()) {
        return nullptr;
    }
    if (value.type() == qz::datatype::timestamp) {
        return value.as_timestamp().seconds;
    }
    std::ostringstream text;
    text << value;
    return value.asNumber() ? HistoryJson::parse(text.str()) : HistoryJson(text.str());
}

std::int64_t numberIn(const HistoryJson& question, const char* name, std::int64_t otherwise) {
    const auto found = question.find(name);
    return found != question.end() && found->is_number_integer() ? found->get<std::int64_t>() : otherwise;
}

void addSlice(HistoryJson& answer, const HistorySlice& slice) {
    answer["kind"] = textOf(slice.kind);
    answer["fromMs"] = slice.fromMs;
    answer["toMs"] = slice.toMs;
    answer["oldestMs"] = slice.oldestMs;
    if (slice.kind == HistoryKind::number) {
        answer["columns"] = HistoryJson::array();
        for (const std::optional<HistoryColumn>& column : slice.columns) {
            answer["columns"].push_back(jsonOf(column));
        }
        answer["whole"] = jsonOf(slice.whole);
        return;
    }
    answer["changes"] = HistoryJson::array();
    for (const Sample& change : slice.changes) {
        answer["changes"].push_back(HistoryJson::array({change.timeMs, jsonOf(change.value)}));
    }
    answer["leftOut"] = slice.leftOut;
}

} // namespace

HistoryDesk::HistoryDesk(const HistorySettings& chosen, std::ostream& errorStream,
                         velk::common::Clock& pauseClock, WallClock wallClock) :
    settings{chosen},
    errors{errorStream},
    clock{pauseClock},
    wallMs{std::move(wallClock)},
    book{HistoryBook::Limits{settings.limitBytes, {}}},
    savedAt{clock.now()} {
    if (settings.enabled && !settings.file.empty()) {
        file.emplace(settings.file, errors);
        file->load(book, wallMs());
    }
}

void HistoryDesk::begin(tessapi::ITessAccessor& client) {
    listenForQuestions(client, {REQUEST, ANSWER},
                       [this](const HistoryJson& question) { return answerTo(question); });
    meetLinks(client.browser().snapshot());
}

/// Before any channel: a value behind a lost link is not to count for a moment.
void HistoryDesk::meetLinks(const tessapi::StoreSnapshot& snapshot) {
    links = {};
    for (const tessapi::ChannelRecord& channel : snapshot.channels) {
        if (channel.name == CommunicationJournal::STATE) {
            const auto device =
                std::find_if(snapshot.devices.begin(), snapshot.devices.end(),
                             [&](const qz::CDevice& each) { return each.id == channel.deviceId; });
            if (device != snapshot.devices.end()) {
                links.meet(*device, channel);
            }
        }
    }
}

void HistoryDesk::meet(const qz::CDevice& device, const tessapi::ChannelRecord& channel, bool isFormer) {
    if (!settings.enabled || device.uuid == WriteJournal::deviceUuid() || isClock(channel)) {
        return;
    }
    const bool met = book.meet(channel.id, {device.uuid, channel.name}, kindOf(channel), channel.type);
    if (!met && !std::exchange(full, true)) {
        errors << "powerdistributiond: the history has no room for all channels in " +
                      std::to_string(settings.limitBytes / 1024) + " KiB; \"limitKiB\" gives it more\n"
               << std::flush;
    }
    const std::int64_t nowMs = wallMs();
    if (links.meet(device, channel)) {
        book.follow(isAway, nowMs);
    } else {
        book.follow(channel.id, isAway, nowMs);
    }
    if (met && isFormer && channel.initialized) {
        book.add(channel.id, nowMs, channel.value);
    }
}

void HistoryDesk::leave(std::uint64_t channel) {
    book.leave(channel);
    if (links.leave(channel)) {
        book.follow(isAway, wallMs());
    }
}

void HistoryDesk::take(const tessapi::ChannelWrite& write) {
    if (links.take(write)) {
        book.follow(isAway, write.timeMs);
    }
    book.add(write.channel, write.timeMs, write.value);
}

void HistoryDesk::tick() {
    if (clock.now() - savedAt >= settings.saveEvery) {
        savedAt = clock.now();
        book.forgetGone(wallMs() - HistorySpans{}.wholeMs);
        save();
    }
}

void HistoryDesk::rest() {
    book.leaveAll(wallMs());
}

void HistoryDesk::finish() {
    save();
}

void HistoryDesk::save() {
    if (file) {
        file->save(book, wallMs());
    }
}

std::optional<HistoryJson> HistoryDesk::answerTo(const HistoryJson& question) const {
    const auto channel = question.find("channel");
    const auto path = question.find("path");
    if (channel == question.end() || !channel->is_number_unsigned() || path == question.end() ||
        !path->is_string()) {
        return std::nullopt;
    }
    HistoryJson answer{{"path", *path}, {"enabled", settings.enabled}};
    if (!settings.enabled) {
        return answer;
    }
    const std::int64_t furthest = SampleRing::FURTHEST_MS;
    const std::int64_t toMs = std::clamp(numberIn(question, "toMs", wallMs()), -furthest, furthest);
    const std::int64_t fromMs =
        std::clamp(numberIn(question, "fromMs", toMs - HistorySpans{}.changesMs), -furthest, furthest);
    const std::int64_t columns =
        std::clamp<std::int64_t>(numberIn(question, "columns", 100), 1, MOST_COLUMNS);
    const std::optional<HistorySlice> slice =
        book.slice(channel->get<std::uint64_t>(), fromMs, toMs, static_cast<std::size_t>(columns));
    answer["known"] = slice.has_value();
    if (slice) {
        addSlice(answer, *slice);
    }
    return answer;
}

} // namespace velk::daemon
