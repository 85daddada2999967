#pragma once

#include <set>
#include <string>

namespace velk::simulator {

/// The settings that the alarm file takes a lower or upper threshold from. The library reads such a setting
/// as a float whenever it looks at the alarms beside it, and takes anything else for a failure.
/// Threads: read-only after construction.
class AlarmThresholds {
public:
    /// None for an empty path. A file that is wrong gives none either, with one line on the standard error.
    explicit AlarmThresholds(const std::string& alarmFile);

    /// The file that is to be used for alarms; empty for none.
    const std::string& file() const { return usedFile; }

    /// `setting` is the text of its path.
    bool contain(const std::string& setting) const { return settings.count(setting) != 0; }

private:
    std::string usedFile;
    std::set<std::string> settings;
};

} // namespace velk::simulator
