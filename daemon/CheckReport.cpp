#include "daemon/CheckReport.h"

#include "daemon/ConfigurationCheck.h"
#include "daemon/ConfigurationFile.h"
#include "daemon/PluginCheck.h"

#include <nlohmann/json.hpp>

namespace velk::daemon {

namespace {

using Json = nlohmann::ordered_json;

ExitCode codeOf(const Findings& findings) {
    return hasError(findings) ? ExitCode::BadConfiguration : ExitCode::Done;
}

Json pluginsOf(const std::string& path) {
    Json plugins = Json::array();
    Findings ignored; // the check has told them
    if (const auto file = ConfigurationFile::read(path, ignored)) {
        for (const PluginTrial& trial : tryPlugins(*file)) {
            plugins.push_back({{"path", trial.path}, {"state", trial.state}, {"why", trial.why}});
        }
    }
    return plugins;
}

} // namespace

ExitCode reportCheck(std::ostream& out, const std::string& path) {
    const Findings findings = checkConfiguration(path);
    print(out, findings);
    if (!hasError(findings)) {
        out << path << ": good\n";
    }
    return codeOf(findings);
}

ExitCode reportCheckAsJson(std::ostream& out, const std::string& path) {
    const Findings findings = checkConfiguration(path);
    Json list = Json::array();
    for (const Finding& finding : findings) {
        const bool isError = finding.severity == Finding::Severity::Error;
        list.push_back({{"severity", isError ? "error" : "warning"}, {"text", finding.text}});
    }
    const Json document{{"configuration", path},
                        {"good", !hasError(findings)},
                        {"findings", list},
                        {"plugins", pluginsOf(path)}};
    out << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
    return codeOf(findings);
}

} // namespace velk::daemon
