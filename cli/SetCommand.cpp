#include "cli/SetCommand.h"

#include "cli/Communication.h"
#include "cli/Failure.h"
#include "cli/JournalEntry.h"
#include "cli/Json.h"
#include "cli/StoreView.h"
#include "cli/ValueParser.h"
#include "cli/ValueText.h"

#include <nlohmann/json.hpp>
#include <optional>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

const Point& requireSetting(const StoreView& view, const std::string& path) {
    const Point& point = view.require(path);
    if (point.isAction()) {
        throw Failure{ExitCode::Failed, "\"" + path + "\" is an action; start it with \"tess do\""};
    }
    if (!point.isSetting() || point.channel == nullptr) {
        throw Failure{ExitCode::Failed, "\"" + path + "\" is no setting; it cannot be written"};
    }
    return point;
}

/// The newest note on this setting, when that says that the device refused the very value that the store
/// still shows: it shows it until the device is read the next time. When the daemon could not tell to which
/// change of the channel the note belongs, it may be this one.
std::optional<JournalEntry> standingRefusal(const StoreView& view, const Point& point) {
    const Point* writes = view.find(JournalEntry::WRITES);
    const std::string* text =
        writes == nullptr ? nullptr : std::get_if<std::string>(&writes->channel->value.variant());
    const std::optional<JournalEntry> newest = JournalEntry::newestOf(
        JournalEntry::parseAll(text == nullptr ? "" : *text), point.devicePath, point.name);
    // Both moments are by the writer's clock, so that nothing depends on how right it is.
    const bool stands = newest && !newest->accepted && newest->asked == plainText(point.channel->value) &&
                        newest->changedMs.value_or(point.channel->changedMs) == point.channel->changedMs;
    return stands ? newest : std::nullopt;
}

Json requestJson(const Point& point, const qz::CValue& wanted) {
    const tessapi::ChannelRecord& channel = *point.channel;
    Json object;
    object["path"] = point.path;
    object["old"] = jsonOf(channel.value);
    object["new"] = jsonOf(wanted);
    object["unit"] = channel.unit.empty() ? Json(nullptr) : Json(channel.unit);
    if (!channel.states.empty()) {
        object["oldText"] = displayText(channel.value, channel);
        object["newText"] = displayText(wanted, channel);
    }
    return object;
}

ExitCode tellNothingToDo(const Session& session, const StoreView& view, const Point& point) {
    const std::optional<JournalEntry> refusal = standingRefusal(view, point);
    const std::string value = displayText(point);
    if (session.json) {
        Json object = requestJson(point, point.channel->value);
        object["outcome"] = refusal ? "refused" : "already";
        object["error"] = refusal && refusal->error ? Json(*refusal->error) : Json(nullptr);
        object["time"] = refusal ? Json(refusal->time) : Json(nullptr);
        printDocument(session.out, object);
    } else if (refusal) {
        session.out << point.path << ": " << value << " was refused by the device at " << refusal->time
                    << "; try again when the store shows the device's value\n";
    } else {
        session.out << point.path << ": already " << value << "\n";
    }
    return refusal ? ExitCode::Failed : ExitCode::Done;
}

} // namespace

ExitCode runSet(Session& session, const std::string& path, const std::string& text,
                const RequestOptions& options) {
    const StoreView view{session.store.browser().snapshot()};
    const Communication communication{view};
    const Point& point = requireSetting(view, path);
    const qz::CValue wanted = parseValue(text, *point.channel);
    requireConnection(communication, point, options.force);
    const bool askAgain = options.force && communication.isUnconfirmed(point);
    if (point.channel->value == wanted && !askAgain) {
        return tellNothingToDo(session, view, point);
    }
    const RequestResult result = request(session, point, wanted, options.timeout);
    if (session.json) {
        Json object = requestJson(point, wanted);
        addOutcome(object, result);
        printDocument(session.out, object);
    } else {
        session.out << point.path << ": " << displayText(point) << " -> "
                    << displayText(wanted, *point.channel) << ", " << outcomeText(result) << "\n";
    }
    return result.exitCode();
}

} // namespace velk::cli
