#include "daemon/ConfigurationFile.h"

#include "platform/common/lwjson/JsonError.h"

#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

namespace velk::daemon {

namespace {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

std::optional<std::string> textOf(const std::string& path) {
    errno = 0;
    std::ifstream stream{path};
    std::ostringstream text;
    if (stream && (text << stream.rdbuf())) {
        return text.str();
    }
    // An empty file puts nothing into the text, which the stream takes for a failure.
    return errno == 0 ? std::optional<std::string>{""} : std::nullopt;
}

} // namespace

std::optional<ConfigurationFile> ConfigurationFile::read(const std::string& path, Findings& findings) {
    const std::optional<std::string> text = textOf(path);
    if (!text) {
        const std::string why = std::generic_category().message(errno);
        findings.push_back({Finding::Severity::Error,
                            located(path, 1, 1, "cannot be read: " + why + "; expected a JSON object")});
        return std::nullopt;
    }
    try {
        Deserializer json{*text};
        if (json.root().getValueType() == ValueType::Object) {
            return ConfigurationFile{path, std::move(json)};
        }
        const auto place = json.root().position();
        findings.push_back(
            {Finding::Severity::Error, located(path, place.line, place.column, "expected a JSON object")});
    } catch (const JsonError& error) {
        findings.push_back({Finding::Severity::Error,
                            located(path, error.position().line, error.position().column, error.reason())});
    }
    return std::nullopt;
}

std::filesystem::path ConfigurationFile::resolved(const std::string& name) const {
    const std::filesystem::path itself{file};
    return (itself.has_parent_path() ? itself.parent_path() : std::filesystem::path{"."}) / name;
}

Finding ConfigurationFile::at(const Node& node, Finding::Severity severity, const std::string& text) const {
    const auto place = node.position();
    return {severity, located(file, place.line, place.column, text)};
}

} // namespace velk::daemon
