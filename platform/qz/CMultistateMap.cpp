#include "platform/qz/CMultistateMap.h"

#include <algorithm>

namespace qz {

namespace {

bool isSameKey(const CValue& a, const CValue& b) {
    const auto left = a.asNumber();
    const auto right = b.asNumber();
    return left && right ? *left == *right : a == b;
}

} // namespace

void CMultistateMap::add(const CValue& key, const std::string& name) {
    const auto known = std::find_if(states.begin(), states.end(),
                                    [&key](const Entry& entry) { return isSameKey(entry.first, key); });
    if (known != states.end()) {
        known->second = name;
        return;
    }
    states.emplace_back(key, name);
}

const std::string* CMultistateMap::find(const CValue& key) const {
    const auto known = std::find_if(states.begin(), states.end(),
                                    [&key](const Entry& entry) { return isSameKey(entry.first, key); });
    return known == states.end() ? nullptr : &known->second;
}

} // namespace qz
