#pragma once

#include "testing/TemporaryDirectory.h"

#include <fstream>
#include <string>

namespace velk::testing {

/// An alarm configuration file that is there as long as the test needs it.
class AlarmFile {
public:
    explicit AlarmFile(const std::string& content) : file{(folder / "alarms.json").string()} {
        std::ofstream{file} << content;
    }

    const std::string& path() const { return file; }

    /// A file with the alarm "Status.LowRuntime" of one trigger, whose members are `members`.
    static std::string withTrigger(const std::string& members) {
        return R"({"alarms": {"Status.LowRuntime": {"triggers": [{)" + members + R"(}]}}})";
    }

private:
    const TemporaryDirectory folder;
    const std::string file;
};

} // namespace velk::testing
