#pragma once

#include "platform/common/Export.h"
#include "platform/qz/CValue.h"

#include <string>
#include <utility>
#include <vector>

namespace qz {

/// The names of a channel's states, in the order in which they were added. A plain value.
class VELK_EXPORT CMultistateMap {
public:
    using Entry = std::pair<CValue, std::string>;

    /// Adds a state; a key that is there already gets the new name and keeps its place. Keys that are numbers
    /// compare as numbers, whatever their kind.
    void add(const CValue& key, const std::string& name);

    /// The state's name, or null when the value has none.
    const std::string* find(const CValue& key) const;

    const std::vector<Entry>& entries() const { return states; }
    bool empty() const { return states.empty(); }

    friend bool operator==(const CMultistateMap& a, const CMultistateMap& b) { return a.states == b.states; }

private:
    std::vector<Entry> states;
};

} // namespace qz
