#include "plugins/simulator/world/Command.h"

#include "plugins/simulator/world/Members.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace velk::simulator {

using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

namespace {

constexpr std::uint32_t MOST_ITEMS = 128;
constexpr std::uint32_t MOST_LOG_ENTRIES = 100'000;
constexpr double LONGEST_ADVANCE_S = 31.0 * 24 * 3600;
constexpr double HIGHEST_SPEED = 100'000;

template <typename Order>
Command onPanel(Order order) {
    return Command{std::in_place_type<PanelCommand>, std::in_place_type<Order>, std::move(order)};
}

std::optional<std::uint32_t> indexIn(Members& members, std::string_view name) {
    const Node* member = members.find(name);
    return member == nullptr ? std::nullopt : std::optional{countOf(*member, 1, MOST_ITEMS)};
}

std::optional<double> numberIn(Members& members, std::string_view name, const OrderRange& range) {
    const Node* member = members.find(name);
    return member == nullptr ? std::nullopt : std::optional{numberOf(*member, range.least, range.most)};
}

std::optional<bool> flagIn(Members& members, std::string_view name) {
    const Node* member = members.find(name);
    return member == nullptr ? std::nullopt : std::optional{member->asBool()};
}

std::optional<std::string> textIn(Members& members, std::string_view name) {
    const Node* member = members.find(name);
    return member == nullptr ? std::nullopt : std::optional{member->asString()};
}

std::string pathIn(Members& members) {
    return textOf(members.need("path", "the data point, such as \"Inputs.1.Measure.Voltage\""));
}

Command readMains(Members& members) {
    MainsOrder command;
    command.input = indexIn(members, "input");
    command.phase = indexIn(members, "phase");
    if (const Node* state = members.find("state")) {
        command.state = wordOf<MainsState>(*state, {{"lost", MainsState::Lost},
                                                    {"normal", MainsState::Normal},
                                                    {"sag", MainsState::Sag},
                                                    {"swell", MainsState::Swell}});
    }
    command.voltage = numberIn(members, "voltage", MAINS_VOLTAGE);
    command.frequency = numberIn(members, "frequency", MAINS_FREQUENCY);
    if (!command.state && !command.voltage && !command.frequency) {
        refuse(members.object(), "needs a member \"state\", \"voltage\" or \"frequency\"");
    }
    return onPanel(command);
}

Command readLoad(Members& members) {
    LoadOrder command;
    command.outlet = indexIn(members, "outlet");
    command.output = indexIn(members, "output");
    command.phase = indexIn(members, "phase");
    command.watts = numberIn(members, "watts", LOAD_WATTS);
    command.percent = numberIn(members, "percent", LOAD_PERCENT);
    if (command.watts.has_value() == command.percent.has_value()) {
        refuse(members.object(), "needs one of the members \"watts\" and \"percent\"");
    }
    if (command.outlet && command.output) {
        refuse(members.object(), "has both of the members \"outlet\" and \"output\", of which it needs one");
    }
    return onPanel(command);
}

Command readBattery(Members& members) {
    BatteryOrder command;
    command.charge = numberIn(members, "charge", BATTERY_CHARGE);
    command.failed = flagIn(members, "failed");
    command.present = flagIn(members, "present");
    command.temperature = numberIn(members, "temperature", BATTERY_TEMPERATURE);
    if (!command.charge && !command.failed && !command.present && !command.temperature) {
        refuse(members.object(), "needs a member \"charge\", \"failed\", \"present\" or \"temperature\"");
    }
    return onPanel(command);
}

Scalar scalarOf(const Node& node) {
    switch (node.getValueType()) {
    case ValueType::Boolean:
        return node.asBool();
    case ValueType::Integer:
        return node.asInt64();
    case ValueType::Float:
        return node.asDouble();
    case ValueType::String:
        return node.asString();
    default:
        refuse(node, "is no value, expected a number, a text, true or false");
    }
}

Command readSet(Members& members) {
    std::string path = pathIn(members);
    return onPanel(SetCommand{std::move(path), scalarOf(members.need("value", "what it is to be set to"))});
}

Command readAction(Members& members) {
    return onPanel(ActionCommand{pathIn(members)});
}

Command readGet(Members& members) {
    return onPanel(GetCommand{pathIn(members)});
}

Command readPoints(Members& /*members*/) {
    return onPanel(PointsCommand{});
}

Command readLog(Members& members) {
    LogCommand command;
    if (const Node* add = members.find("add")) {
        command.add = countOf(*add, 1, MOST_LOG_ENTRIES);
    }
    command.wrap = flagIn(members, "wrap").value_or(false);
    command.restart = flagIn(members, "restart").value_or(false);
    if (command.add == 0 && !command.wrap && !command.restart) {
        refuse(members.object(), "needs a member \"add\", how many entries, \"wrap\" or \"restart\", true");
    }
    return onPanel(command);
}

Command readClear(Members& members) {
    const Node* kind = members.find("kind");
    return ClearCommand{kind == nullptr ? std::nullopt : std::optional{readFaultKind(*kind)}};
}

Command readIdentity(Members& members) {
    IdentityOrder command;
    command.serialNumber = textIn(members, "serialNumber");
    command.firmwareVersion = textIn(members, "firmwareVersion");
    command.uuid = textIn(members, "uuid");
    command.model = textIn(members, "model");
    if (!command.serialNumber && !command.firmwareVersion && !command.uuid && !command.model) {
        refuse(members.object(),
               "needs a member \"serialNumber\", \"firmwareVersion\", \"uuid\" or \"model\"");
    }
    return onPanel(std::move(command));
}

Command readCounts(Members& members) {
    CountsCommand command;
    for (const Node& member : members.others()) {
        command.counts[member.name()] = countOf(member, 0, MOST_ITEMS);
    }
    if (command.counts.empty()) {
        refuse(members.object(), "needs a member named as a collection, such as \"Outlets\", with its count");
    }
    return onPanel(std::move(command));
}

Command readAdvance(Members& members) {
    const double seconds =
        numberOf(members.need("seconds", "how far the simulated time is to move"), 0, LONGEST_ADVANCE_S);
    return AdvanceCommand{std::chrono::milliseconds{std::llround(seconds * 1000)}};
}

Command readSpeed(Members& members) {
    return SpeedCommand{
        numberOf(members.need("factor", "simulated seconds a real second"), 0, HIGHEST_SPEED)};
}

Command readPlay(Members& members) {
    return PlayCommand{textOf(members.need("scenario", "the file of the scenario"))};
}

Command readSay(Members& members) {
    return SayCommand{textOf(members.need("text", "what is to be said"))};
}

Command readStatus(Members& /*members*/) {
    return StatusCommand{};
}

Command readFollow(Members& members) {
    const Node* from = members.find("from");
    return FollowCommand{from == nullptr ? 0 : from->asUint32()};
}

using Read = Command (*)(Members&);

// clang-format off
const Words<Read>& verbs() {
    static const Words<Read> words{
        {"mains",    readMains},
        {"load",     readLoad},
        {"battery",  readBattery},
        {"set",      readSet},
        {"action",   readAction},
        {"get",      readGet},
        {"points",   readPoints},
        {"log",      readLog},
        {"fault",    nullptr}, // read by `readFault`
        {"clear",    readClear},
        {"identity", readIdentity},
        {"counts",   readCounts},
        {"advance",  readAdvance},
        {"speed",    readSpeed},
        {"play",     readPlay},
        {"say",      readSay},
        {"status",   readStatus},
        {"follow",   readFollow},
    };
    return words;
}
// clang-format on

/// Whether a client alone can give the command: it asks for an answer, or moves the scenario's own time.
bool isOfClients(const Command& command) {
    if (const auto* order = std::get_if<PanelCommand>(&command)) {
        return std::holds_alternative<GetCommand>(*order) || std::holds_alternative<PointsCommand>(*order);
    }
    return std::holds_alternative<AdvanceCommand>(command) || std::holds_alternative<PlayCommand>(command) ||
           std::holds_alternative<StatusCommand>(command) || std::holds_alternative<FollowCommand>(command);
}

Command readVerb(const Node& verb, Members& members) {
    const Read read = wordOf(verb, verbs());
    return read == nullptr ? Command{FaultCommand{readFault(members)}} : read(members);
}

} // namespace

Command readCommand(const Node& node) {
    Members members{node};
    Command command = readVerb(members.need("do", "what is to be done"), members);
    members.finish();
    return command;
}

std::optional<Command> readStepCommand(const Node& node) {
    Members members{node};
    members.find("at");
    members.find("say");
    const Node* verb = members.find("do");
    if (verb == nullptr) {
        members.finish();
        return std::nullopt;
    }
    Command command = readVerb(*verb, members);
    members.finish();
    if (isOfClients(command)) {
        refuse(*verb, "is \"" + verb->text() + "\", which is no step of a scenario");
    }
    return command;
}

} // namespace velk::simulator
