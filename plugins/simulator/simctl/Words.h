#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace velk::simulator::simctl {

/// Words that are no command; `what()` tells why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The command of words such as {"mains", "state=lost", "input=1"} as JSON. A verb may have its main members
/// without their names: {"set", "Outlets.3.Setting.ForcedRebootDuration", "20"}. Throws UsageError.
std::string commandOf(const std::vector<std::string>& words);

} // namespace velk::simulator::simctl
