#include "powerdistribution/handlers/LogCache.h"

#include <algorithm>
#include <iostream>
#include <sstream>

namespace velk::powerdistribution::handlers {

void LogCache::init() {}

void LogCache::append(const InternalLogEntry& entry) {
    if (log.empty()) {
        first = entry.id;
    }
    log.push_back(entry);
    last = entry.id;
    std::cout << entry.toString("      ") + "\n" << std::flush;
}

void LogCache::clear(unsigned int id) {
    if (id == 0) {
        log.clear();
        last = 0;
        first = 0;
        return;
    }
    const auto kept =
        std::find_if(log.begin(), log.end(), [id](const auto& entry) { return entry.id >= id; });
    if (kept == log.begin()) {
        return;
    }
    log.erase(log.begin(), kept);
    first = id;
}

void LogCache::status() const {
    std::ostringstream text;
    text << "Event Log contains " << log.size() << " events :\n";
    text << log.front().toString("Start ") << '\n';
    text << log.back().toString("End   ") << '\n';
    std::cout << text.str();
}

} // namespace velk::powerdistribution::handlers
