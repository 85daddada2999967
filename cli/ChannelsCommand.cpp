#include "cli/ChannelsCommand.h"

#include "cli/Json.h"
#include "cli/StoreView.h"
#include "cli/Table.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

Json timeJson(std::int64_t ms) {
    return ms == 0 ? Json(nullptr) : Json(utcText(ms));
}

Json statesJson(const qz::CMultistateMap& states) {
    Json array = Json::array();
    for (const auto& [key, name] : states.entries()) {
        array.push_back({{"value", jsonOf(key)}, {"text", name}});
    }
    return array;
}

Json channelJson(const Point& point) {
    const tessapi::ChannelRecord& channel = *point.channel;
    Json object;
    object["id"] = channel.id;
    object["device"] = channel.deviceId;
    object["name"] = channel.name;
    object["path"] = point.path;
    object["type"] = to_string(channel.type);
    object["unit"] = channel.unit.empty() ? Json(nullptr) : Json(channel.unit);
    object["value"] = jsonOf(channel.value);
    object["written"] = timeJson(channel.writtenMs);
    object["changed"] = timeJson(channel.changedMs);
    object["triggers"] = channel.alarmConfig.triggers.size();
    object["states"] = statesJson(channel.states);
    object["description"] = channel.description;
    return object;
}

std::vector<const Point*> chosenPoints(const StoreView& view, const std::vector<std::string>& paths) {
    std::vector<const Point*> chosen;
    for (const std::string& wanted : paths) {
        const std::vector<const Point*> found = view.select(wanted);
        chosen.insert(chosen.end(), found.begin(), found.end());
    }
    if (paths.empty()) {
        for (const Point& point : view.points()) {
            chosen.push_back(&point);
        }
    }
    std::erase_if(chosen, [](const Point* point) { return point->channel == nullptr; });
    return chosen;
}

} // namespace

ExitCode runChannels(Session& session, const std::vector<std::string>& paths) {
    const StoreView view{session.store.browser().snapshot()};
    Json document = Json::array();
    Table table;
    table.add({session.style.title("ID"), session.style.title("PATH"), session.style.title("TYPE"),
               session.style.title("UNIT"), session.style.title("WRITTEN"),
               session.style.title("DESCRIPTION")});
    for (const Point* point : chosenPoints(view, paths)) {
        const tessapi::ChannelRecord& channel = *point->channel;
        document.push_back(channelJson(*point));
        table.add({std::to_string(channel.id), point->path, to_string(channel.type), channel.unit,
                   channel.writtenMs == 0 ? "never" : ageText(channel.writtenMs, session.nowMs()),
                   session.style.faint(channel.description)});
    }
    if (session.json) {
        printDocument(session.out, document);
    } else {
        table.print(session.out);
    }
    return ExitCode::Done;
}

} // namespace velk::cli
