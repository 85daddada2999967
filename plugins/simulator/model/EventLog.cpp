#include "plugins/simulator/model/EventLog.h"

#include <algorithm>

namespace velk::simulator {

EventLog::EventLog(std::size_t capacity, std::size_t chunkSize) :
    most{std::max<std::size_t>(capacity, 1)}, perChunk{std::max<std::size_t>(chunkSize, 1)} {}

void EventLog::add(Entry entry) {
    entry.id = next++;
    kept.push_back(entry);
    if (kept.size() > most) {
        kept.pop_front();
    }
}

std::uint32_t EventLog::topId() const {
    return next - 1;
}

EventLog::Chunk EventLog::chunkAfter(std::uint32_t id) const {
    const auto first =
        std::find_if(kept.begin(), kept.end(), [id](const Entry& entry) { return entry.id > id; });
    const auto left = static_cast<std::size_t>(kept.end() - first);
    const Chunk::Entries entries(first, first + static_cast<std::ptrdiff_t>(std::min(left, perChunk)));
    return {entries.begin(), entries.end()};
}

void EventLog::restart() {
    kept.clear();
    next = 1;
}

} // namespace velk::simulator
