#include "daemon/HostSettings.h"

#include "daemon/ConfigurationFile.h"

#include <array>
#include <set>

namespace velk::daemon {

namespace {

using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

struct HostRow {
    const char* name;
    std::string HostSettings::*field;
};

constexpr auto hostRows = std::to_array<HostRow>({
    {"interface", &HostSettings::interface},
    {"productName", &HostSettings::productName},
    {"firmwareVersion", &HostSettings::firmwareVersion},
});

const HostRow* findHostRow(const std::string& name) {
    for (const HostRow& row : hostRows) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

HostSettings HostSettings::of(const ConfigurationFile& file) {
    HostSettings settings;
    const Node* host = file.root().findMember(MEMBER);
    if (host == nullptr || host->getValueType() != ValueType::Object) {
        return settings;
    }
    for (const HostRow& row : hostRows) {
        const Node* member = host->findMember(row.name);
        if (member != nullptr && member->getValueType() == ValueType::String) {
            settings.*row.field = member->text();
        }
    }
    return settings;
}

Findings HostSettings::check(const ConfigurationFile& file) {
    Findings findings;
    const Node* host = file.root().findMember(MEMBER);
    if (host == nullptr) {
        return findings;
    }
    if (host->getValueType() != ValueType::Object) {
        findings.push_back(file.at(*host, Finding::Severity::Error,
                                   "\"host\": expected an object with interface, productName or "
                                   "firmwareVersion"));
        return findings;
    }
    std::set<std::string> seen;
    for (const Node& member : host->members()) {
        if (findHostRow(member.name()) == nullptr) {
            findings.push_back(file.at(member, Finding::Severity::Warning,
                                       "\"" + member.name() +
                                           "\" is ignored; expected interface, productName or "
                                           "firmwareVersion"));
        } else if (!seen.insert(member.name()).second) {
            findings.push_back(file.at(member, Finding::Severity::Warning,
                                       "\"" + member.name() + "\" is ignored: the first one counts"));
        } else if (member.getValueType() != ValueType::String) {
            findings.push_back(file.at(member, Finding::Severity::Error,
                                       "\"" + member.name() + "\": expected a text, not " + member.text()));
        }
    }
    return findings;
}

} // namespace velk::daemon
