#pragma once

#include "plugins/nut/VariableLimits.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace velk::nut {

/// What can be done with a device. A plain value.
struct Capabilities {
    std::map<std::string, VariableLimits, std::less<>> writable; ///< the variables that can be set
    std::set<std::string, std::less<>> commands;                 ///< the instant commands

    bool canSet(std::string_view variable) const { return writable.find(variable) != writable.end(); }
    bool canRun(std::string_view command) const { return commands.find(command) != commands.end(); }
};

} // namespace velk::nut
