#include "daemon/Finding.h"

#include <algorithm>

namespace velk::daemon {

bool hasError(const Findings& findings) {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.severity == Finding::Severity::Error; });
}

void print(std::ostream& out, const Findings& findings) {
    for (const Finding& finding : findings) {
        out << finding.text << (finding.severity == Finding::Severity::Warning ? " (warning)" : "") << "\n";
    }
}

std::string located(const std::string& file, std::size_t line, std::size_t column, const std::string& text) {
    return file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + text;
}

} // namespace velk::daemon
