#include "daemon/AlarmFiles.h"

#include "daemon/ConfigurationFile.h"
#include "powerdistribution/protocols/AlarmFileCheck.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

namespace velk::daemon {

namespace {

using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

void checkAlarmFile(const ConfigurationFile& file, const Node& name, Findings& findings) {
    const std::string path = file.resolved(name.text()).string();
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        findings.push_back(file.at(name, Finding::Severity::Error,
                                   "\"alarmFile\": expected an alarm file, but " + path + " is not there"));
        return;
    }
    if (const std::optional<std::string> mistake = velk::powerdistribution::protocols::checkAlarmFile(path)) {
        findings.push_back({Finding::Severity::Error, *mistake});
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
