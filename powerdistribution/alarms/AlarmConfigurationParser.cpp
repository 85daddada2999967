#include "powerdistribution/alarms/AlarmConfigurationParser.h"

#include "platform/common/lwjson/Deserializer.h"
#include "platform/common/lwjson/JsonError.h"
#include "powerdistribution/alarms/AlarmConfigurationError.h"

#include <cstdint>
#include <fstream>
#include <sstream>
#include <utility>

namespace velk::powerdistribution {

namespace {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

/// From "alarm key.code" to its place in the list.
using Priorities = std::map<std::string, std::int32_t>;

std::string readFile(const std::string& path) {
    const std::ifstream file{path, std::ios::binary};
    std::ostringstream text;
    if (file) {
        text << file.rdbuf();
    }
    return text.str();
}

Priorities readPriorities(const Deserializer& json) {
    Priorities priorities;
    const Node* const list = json.findMember("alarmPriorities");
    if (list == nullptr) {
        return priorities;
    }
    std::int32_t place = 0;
    for (const Node& element : list->members()) {
        // Required: a string given twice keeps its first place, and its second use takes up a place too.
        priorities.emplace(element.asString(), place++);
    }
    return priorities;
}

Trigger::Type readType(const Node& trigger) {
    const Node* const member = trigger.findMember("type");
    if (member == nullptr) {
        throw AlarmConfigurationError{"Mandatory field is missing: \"type\"", trigger.position()};
    }
    Trigger::Type type{};
    Trigger::from_string(member->asString(), type);
    if (type == Trigger::Type::invalid) {
        throw AlarmConfigurationError{
            "Failed to convert \"type\": unexpected value (" + member->asString() + ")", member->position()};
    }
    return type;
}

Value readThreshold(const Node& member) {
    switch (member.getValueType()) {
    case ValueType::String:
        return member.asString();
    case ValueType::Boolean:
        return member.asBool();
    case ValueType::Integer:
        return member.asInt32();
    case ValueType::Float:
        return member.asFloat();
    default:
        throw AlarmConfigurationError{"Failed to convert \"value\": unexpected value (" + member.text() + ")",
                                      member.position()};
    }
}

Value readValue(const Node& trigger) {
    const Node* const value = trigger.findMember("value");
    const Node* const reference = trigger.findMember("reference");
    if (value != nullptr && reference != nullptr) {
        throw AlarmConfigurationError{
            "The \"value\" field and \"reference\" fields must not be declared in the same trigger",
            trigger.position()};
    }
    if (value == nullptr && reference == nullptr) {
        throw AlarmConfigurationError{"Mandatory field is missing: \"value\" or \"reference\"",
                                      trigger.position()};
    }
    return value == nullptr ? Value{} : readThreshold(*value);
}

std::string readMessage(const Node& trigger) {
    const Node* const member = trigger.findMember("message");
    if (member == nullptr) {
        throw AlarmConfigurationError{"Mandatory field is missing: message", trigger.position()};
    }
    return member->asString();
}

std::string readCode(const Node& trigger) {
    const Node* const member = trigger.findMember("code");
    return member == nullptr ? std::string{} : member->asString();
}

Trigger::Level readLevel(const Node& trigger) {
    const Node* const member = trigger.findMember("severity");
    if (member == nullptr) {
        return Trigger::Level::none;
    }
    Trigger::Level level{};
    Trigger::from_string(member->asString(), level);
    if (level == Trigger::Level::invalid) {
        // Required: the file says "severity", the message "level".
        throw AlarmConfigurationError{
            "Failed to convert \"level\": unexpected value (" + member->asString() + ")", member->position()};
    }
    return level;
}

std::string readReference(const Node& trigger) {
    const Node* const reference = trigger.findMember("reference");
    const Node* const value = trigger.findMember("value");
    // Required: the second test of a pair that `readValue` has tested, with words of its own.
    if (reference != nullptr && value != nullptr) {
        throw AlarmConfigurationError{
            "The \"reference\" field and \"value\" fields must not be declared in the same trigger",
            trigger.position()};
    }
    if (reference == nullptr && value == nullptr) {
        throw AlarmConfigurationError{"Mandatory field is missing: \"reference\" or \"value\"",
                                      trigger.position()};
    }
    return reference == nullptr ? std::string{} : reference->asString();
}

/// The order of the steps decides which failure a bad trigger gives.
Trigger readTrigger(const Node& node, const std::string& alarm, const Priorities& priorities) {
    Trigger trigger;
    trigger.type = readType(node);
    trigger.threshold1 = readValue(node);
    trigger.message = readMessage(node);
    trigger.code = readCode(node);
    trigger.level = readLevel(node);
    trigger.reference = readReference(node);
    if (trigger.code.empty()) {
        return trigger;
    }
    const auto place = priorities.find(alarm + "." + trigger.code);
    if (place != priorities.end()) {
        trigger.priority = place->second;
    }
    return trigger;
}

AlarmConfig readAlarm(const Node& alarm, const Priorities& priorities) {
    AlarmConfig config;
    const Node* const list = alarm.findMember("triggers");
    if (list == nullptr) {
        return config;
    }
    const std::vector<Node> triggers = list->members();
    config.triggers.reserve(triggers.size());
    for (const Node& trigger : triggers) {
        config.triggers.push_back(readTrigger(trigger, alarm.name(), priorities));
    }
    return config;
}

} // namespace

AlarmConfigurationParser::AlarmConfigurationParser(std::string_view path) {
    const Deserializer json{readFile(std::string{path})};
    try {
        const Priorities priorities = readPriorities(json);
        const Node* const list = json.findMember("alarms");
        if (list == nullptr) {
            return;
        }
        for (const Node& alarm : list->members()) {
            alarms.emplace(alarm.name(), readAlarm(alarm, priorities));
        }
    } catch (const velk::common::lwjson::JsonError& failure) {
        // A member of another kind than the field takes.
        throw AlarmConfigurationError{failure.what(), failure.position()};
    }
}

std::optional<AlarmConfig> AlarmConfigurationParser::getConfig(const EPath& path) const {
    const auto alarm = alarms.find(path.nodesToString());
    return alarm == alarms.end() ? std::nullopt : alarm->second;
}

} // namespace velk::powerdistribution
