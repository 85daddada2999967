#include "plugins/simulator/AlarmThresholds.h"

#include "platform/common/lwjson/Deserializer.h"
#include "powerdistribution/protocols/AlarmFileCheck.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string_view>

namespace velk::simulator {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::Node;

namespace {

constexpr std::array<std::string_view, 5> FAMILIES{"Measure.", "Status.", "Specification.", "Setting.",
                                                   "Attribute."};

/// "Inputs.1." of "Inputs.1.Measure.Voltage".
std::string nodeOf(const std::string& point) {
    std::size_t member = 0;
    for (const std::string_view family : FAMILIES) {
        const std::size_t at = point.rfind(family);
        if (at != std::string::npos) {
            member = std::max(member, at);
        }
    }
    return point.substr(0, member);
}

bool isLimit(const Node& trigger) {
    const Node* type = trigger.findMember("type");
    return type != nullptr && (type->text() == "lower" || type->text() == "upper");
}

} // namespace

AlarmThresholds::AlarmThresholds(const std::string& alarmFile) {
    if (alarmFile.empty()) {
        return;
    }
    // A bad alarm file would end the run; without alarms the device is monitored at least.
    if (const auto mistake = powerdistribution::protocols::checkAlarmFile(alarmFile)) {
        std::cerr << "simulator: no alarms: " + *mistake + "\n";
        return;
    }
    usedFile = alarmFile;
    std::ostringstream text;
    text << std::ifstream{alarmFile}.rdbuf();
    const Deserializer json{text.str()};
    const Node* alarms = json.findMember("alarms");
    if (alarms == nullptr) {
        return;
    }
    for (const Node& alarm : alarms->members()) {
        const Node* triggers = alarm.findMember("triggers");
        if (triggers == nullptr) {
            continue;
        }
        for (const Node& trigger : triggers->members()) {
            const Node* reference = trigger.findMember("reference");
            if (isLimit(trigger) && reference != nullptr) {
                settings.insert(nodeOf(alarm.name()) + reference->text());
            }
        }
    }
}

} // namespace velk::simulator
