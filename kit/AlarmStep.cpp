// The alarm file is read by the system's own parser, and its names are held against what is served.

#include "kit/Steps.h"
#include "platform/common/lwjson/Deserializer.h"
#include "powerdistribution/alarms/AlarmConfigurationParser.h"
#include "powerdistribution/protocols/AlarmFileCheck.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

namespace velk::kit {

using powerdistribution::AlarmConfigurationParser;
using powerdistribution::EPath;
using powerdistribution::EPrivate;
using powerdistribution::Trigger;
using powerdistribution::Value;
namespace protocols = powerdistribution::protocols;

namespace {

std::string contentOf(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream{file}.rdbuf();
    return text.str();
}

/// Names of the file that are no served data points. One file may be meant for several devices, so they are
/// worth a note.
void checkNames(const Session& session, const std::string& file) {
    std::set<std::string> served;
    for (const Point& point : session.points) {
        served.insert(point.text);
    }
    const velk::common::lwjson::Deserializer json{contentOf(file)};
    const auto* const alarms = json.findMember("alarms");
    if (alarms == nullptr) {
        return;
    }
    std::string unknown;
    std::string place = file;
    for (const auto& alarm : alarms->members()) {
        if (served.count(alarm.name()) != 0) {
            continue;
        }
        if (unknown.empty()) {
            place +=
                ":" + std::to_string(alarm.position().line) + ":" + std::to_string(alarm.position().column);
        }
        unknown += (unknown.empty() ? "" : ", ") + alarm.name();
    }
    if (!unknown.empty()) {
        session.report.note(place, "names of data points that are served", unknown);
    }
}

/// A setting that gives a threshold has to read as a float when the tree is built.
void checkReferences(const Session& session, const AlarmConfigurationParser& parser, const Point& point) {
    const auto config = parser.getConfig(point.path);
    if (!config) {
        return;
    }
    for (const Trigger& trigger : config->triggers) {
        const bool isBound = trigger.type == Trigger::Type::lower || trigger.type == Trigger::Type::upper;
        const std::string node = point.path.parent().nodesToString();
        const std::string text = (point.path.size() > 1 ? node + "." : "") + trigger.reference;
        const auto setting = std::find_if(session.points.begin(), session.points.end(),
                                          [&](const Point& other) { return other.text == text; });
        if (!isBound || trigger.reference.empty() || setting == session.points.end()) {
            continue;
        }
        const auto wrapper = session.build(setting->path, text);
        const Value value = wrapper ? session.read(*wrapper, text) : Value{};
        if (!value.holds<float>()) {
            session.report.error(text, "float, since a trigger of " + point.text + " refers to it",
                                 describe(value));
        }
    }
}

} // namespace

bool tryAlarmFile(Session& session) {
    const EPath path{EPrivate::AlarmConfigurationFile};
    const auto wrapper = session.build(path);
    const Value value = wrapper ? session.read(*wrapper, path.nodesToString()) : Value{};
    const auto* file = value.getIf<std::string>();
    if (file == nullptr || file->empty()) {
        return true;
    }
    if (const auto mistake = protocols::checkAlarmFile(*file)) {
        session.report.error(path.nodesToString(), "a good alarm file, since a bad one ends the run",
                             *mistake);
        return true;
    }
    checkNames(session, *file);
    const AlarmConfigurationParser parser{*file};
    for (const Point& point : session.points) {
        checkReferences(session, parser, point);
    }
    return true;
}

} // namespace velk::kit
