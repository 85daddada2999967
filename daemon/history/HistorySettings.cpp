#include "daemon/history/HistorySettings.h"

#include "daemon/ConfigurationFile.h"

#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <set>
#include <stdlib.h> // NOLINT(modernize-deprecated-headers): mkstemp
#include <string>
#include <system_error>
#include <unistd.h>

namespace velk::daemon {

namespace {

using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

constexpr const char* MEMBERS = "enabled, file, limitKiB or saveEveryMinutes";

constexpr std::int64_t LEAST_KIB = 64;
constexpr std::int64_t MOST_KIB = 1'048'576;
constexpr std::int64_t LEAST_MINUTES = 1;
constexpr std::int64_t MOST_MINUTES = 1'440;

std::optional<std::int64_t> wholeNumber(const Node& node, std::int64_t least, std::int64_t most) {
    if (node.getValueType() != ValueType::Integer) {
        return std::nullopt;
    }
    const std::string& text = node.text();
    std::int64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc{} && rest == text.data() + text.size();
    return isNumber && number >= least && number <= most ? std::optional{number} : std::nullopt;
}

std::optional<bool> flagOf(const Node& node) {
    return node.getValueType() == ValueType::Boolean ? std::optional{node.text() == "true"} : std::nullopt;
}

/// What is wrong with a member of this name; empty for nothing.
std::string complaintOf(const Node& member) {
    const std::string& name = member.name();
    if (name == "enabled" && !flagOf(member)) {
        return "expected true or false, not " + member.text();
    }
    if (name == "file" && (member.getValueType() != ValueType::String || member.text().empty())) {
        return "expected the name of a file, not " + member.text();
    }
    if (name == "limitKiB" && !wholeNumber(member, LEAST_KIB, MOST_KIB)) {
        return "expected a whole number from 64 to 1048576 (KiB of memory), not " + member.text();
    }
    if (name == "saveEveryMinutes" && !wholeNumber(member, LEAST_MINUTES, MOST_MINUTES)) {
        return "expected a whole number from 1 to 1440 (minutes), not " + member.text();
    }
    return "";
}

/// Tried, as what the rights say is not all: the file system may be read-only. Nothing is left of it.
bool canMakeFile(const std::string& folder) {
    int file = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    if (file < 0 && (errno == EOPNOTSUPP || errno == EISDIR)) {
        std::string name = folder + "/history.XXXXXX";
        file = mkstemp(name.data());
        if (file >= 0) {
            unlink(name.c_str());
        }
    }
    return file >= 0 && close(file) == 0;
}

/// What keeps the history from lying at `file`, as far as this user can tell.
std::optional<Finding> obstacle(const ConfigurationFile& configuration, const Node& place) {
    namespace fs = std::filesystem;
    const fs::path file = configuration.resolved(place.text());
    const fs::path folder = file.has_parent_path() ? file.parent_path() : ".";
    const auto found = [&](Finding::Severity severity, const std::string& text) {
        return configuration.at(place, severity, "\"file\": " + text);
    };
    std::error_code error;
    if (const auto status = fs::status(file, error); fs::exists(status) && !fs::is_regular_file(status)) {
        return found(Finding::Severity::Error,
                     "expected the name of a file, but " + file.string() + " is something else");
    }
    if (!fs::is_directory(folder, error)) {
        return found(Finding::Severity::Error,
                     "expected a file in a folder that is there, but " + folder.string() + " is none");
    }
    if (!canMakeFile(folder)) {
        return found(Finding::Severity::Warning,
                     "the history cannot be saved by this user: " + folder.string() + ": " +
                         std::generic_category().message(errno));
    }
    return std::nullopt;
}

bool isKnownMember(const std::string& name) {
    return name == "enabled" || name == "file" || name == "limitKiB" || name == "saveEveryMinutes";
}

} // namespace

HistorySettings HistorySettings::of(const ConfigurationFile& configuration) {
    HistorySettings settings;
    const Node* history = configuration.root().findMember(MEMBER);
    if (history == nullptr || history->getValueType() != ValueType::Object) {
        return settings;
    }
    if (const Node* enabled = history->findMember("enabled")) {
        settings.enabled = flagOf(*enabled).value_or(true);
    }
    const Node* file = history->findMember("file");
    if (file != nullptr && file->getValueType() == ValueType::String && !file->text().empty()) {
        settings.file = configuration.resolved(file->text());
    }
    if (const Node* limit = history->findMember("limitKiB")) {
        if (const auto number = wholeNumber(*limit, LEAST_KIB, MOST_KIB)) {
            settings.limitBytes = static_cast<std::size_t>(*number) * 1024;
        }
    }
    if (const Node* every = history->findMember("saveEveryMinutes")) {
        if (const auto number = wholeNumber(*every, LEAST_MINUTES, MOST_MINUTES)) {
            settings.saveEvery = std::chrono::minutes{*number};
        }
    }
    return settings;
}

Findings HistorySettings::check(const ConfigurationFile& configuration) {
    Findings findings;
    const Node* history = configuration.root().findMember(MEMBER);
    if (history == nullptr) {
        return findings;
    }
    if (history->getValueType() != ValueType::Object) {
        findings.push_back(configuration.at(*history, Finding::Severity::Error,
                                            std::string{"\"history\": expected an object with "} + MEMBERS));
        return findings;
    }
    std::set<std::string> seen;
    for (const Node& member : history->members()) {
        const std::string complaint = complaintOf(member);
        if (!isKnownMember(member.name())) {
            findings.push_back(configuration.at(member, Finding::Severity::Warning,
                                                "\"" + member.name() + "\" is ignored; expected " + MEMBERS));
        } else if (!seen.insert(member.name()).second) {
            findings.push_back(
                configuration.at(member, Finding::Severity::Warning,
                                 "\"" + member.name() + "\" is ignored: the first one counts"));
        } else if (!complaint.empty()) {
            findings.push_back(configuration.at(member, Finding::Severity::Error,
                                                "\"" + member.name() + "\": " + complaint));
        } else if (const auto found =
                       member.name() == "file" ? obstacle(configuration, member) : std::nullopt) {
            findings.push_back(*found);
        }
    }
    return findings;
}

} // namespace velk::daemon
