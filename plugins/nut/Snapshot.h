#pragma once

#include "plugins/nut/Capabilities.h"
#include "plugins/nut/Variables.h"

#include <memory>
#include <string>
#include <string_view>

namespace velk::nut {

/// All that was known of a device at one moment. Never changes once it is published.
struct Snapshot {
    Variables variables;
    std::shared_ptr<const Capabilities> capabilities; ///< never null

    /// The text of a variable, or null when the device does not have it or it is empty.
    const std::string* find(std::string_view name) const {
        const auto entry = variables.find(name);
        return entry == variables.end() || entry->second.empty() ? nullptr : &entry->second;
    }
    bool has(std::string_view name) const { return variables.find(name) != variables.end(); }
};

} // namespace velk::nut
