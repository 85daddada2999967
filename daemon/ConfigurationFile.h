#pragma once

#include "daemon/Finding.h"
#include "platform/common/lwjson/Deserializer.h"

#include <filesystem>
#include <optional>
#include <string>

namespace velk::daemon {

/// The configuration file as it was read, with the places of everything in it.
class ConfigurationFile {
public:
    /// Empty, with one error in `findings`, when the file cannot be read or is no JSON object.
    static std::optional<ConfigurationFile> read(const std::string& path, Findings& findings);

    const velk::common::lwjson::Node& root() const { return json.root(); }
    const std::string& path() const { return file; }

    /// What `name` in the file means: relative names start from the file's folder.
    std::filesystem::path resolved(const std::string& name) const;

    /// A finding at the place of `node`.
    Finding at(const velk::common::lwjson::Node& node, Finding::Severity severity,
               const std::string& text) const;

private:
    ConfigurationFile(std::string path, velk::common::lwjson::Deserializer parsed) :
        file{std::move(path)}, json{std::move(parsed)} {}

    std::string file;
    velk::common::lwjson::Deserializer json;
};

} // namespace velk::daemon
