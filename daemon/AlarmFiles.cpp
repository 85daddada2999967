#include "daemon/AlarmFiles.h"

#include "daemon/ConfigurationFile.h"
#include "platform/common/lwjson/JsonError.h"
#include "powerdistribution/alarms/AlarmConfigurationError.h"
#include "powerdistribution/alarms/AlarmConfigurationParser.h"

#include <filesystem>
#include <string>
#include <system_error>

namespace velk::daemon {

namespace {

using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;
using velk::powerdistribution::AlarmConfigurationError;
using velk::powerdistribution::AlarmConfigurationParser;

void checkAlarmFile(const ConfigurationFile& file, const Node& name, Findings& findings) {
    const std::string path = file.resolved(name.text()).string();
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        findings.push_back(file.at(name, Finding::Severity::Error,
                                   "\"alarmFile\": expected an alarm file, but " + path + " is not there"));
        return;
    }
    try {
        const AlarmConfigurationParser parser{path};
    } catch (const JsonError& error) {
        findings.push_back({Finding::Severity::Error,
                            located(path, error.position().line, error.position().column, error.reason())});
    } catch (const AlarmConfigurationError& error) {
        findings.push_back({Finding::Severity::Error,
                            located(path, error.position().line, error.position().column, error.what())});
    } catch (const std::exception& error) {
        findings.push_back({Finding::Severity::Error, located(path, 1, 1, error.what())});
    }
}

} // namespace

Findings checkAlarmFiles(const ConfigurationFile& file) {
    Findings findings;
    for (const Node& section : file.root().members()) {
        const Node* name = section.findMember("alarmFile");
        if (name == nullptr || name->getValueType() == ValueType::Null) {
            continue;
        }
        if (name->getValueType() != ValueType::String) {
            findings.push_back(file.at(*name, Finding::Severity::Error,
                                       "\"alarmFile\": expected the name of a file, not " + name->text()));
            continue;
        }
        checkAlarmFile(file, *name, findings);
    }
    return findings;
}

} // namespace velk::daemon
