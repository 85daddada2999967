#pragma once

#include <string>
#include <vector>

namespace tessapi::faults {

/// What is wrong with the store in `file`: the database's own checks, and what every state of a store has in
/// common (parents exist, names are unique, alarms agree with values and with their events, the change log
/// agrees with what has changed). Empty when all is well. Other programs may be writing.
std::vector<std::string> problemsOf(const std::string& file);

/// The same in one text.
std::string problemTextOf(const std::string& file);

} // namespace tessapi::faults
