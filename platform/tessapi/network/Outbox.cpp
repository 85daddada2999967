#include "platform/tessapi/network/Outbox.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace tessapi {

void Outbox::add(Change change, bool inOrder) {
    const auto channel = change.object;
    if (!inOrder) {
        if (const auto known = newest.find(channel); known != newest.end()) {
            entries.erase(known->second);
        }
        entries.push_back({std::move(change), false});
        newest[channel] = std::prev(entries.end());
        return;
    }
    if (ordered == MOST) {
        forgetOldest();
    }
    entries.push_back({std::move(change), true});
    ++ordered;
}

void Outbox::forgetOldest() {
    const auto oldest =
        std::find_if(entries.begin(), entries.end(), [](const Entry& entry) { return entry.inOrder; });
    entries.erase(oldest);
    --ordered;
    ++lost;
}

void Outbox::addUncertain(Batch batch) {
    batch.sentBefore = true;
    uncertain.push_back(std::move(batch));
}

std::size_t Outbox::size() const {
    return std::accumulate(uncertain.begin(), uncertain.end(), entries.size(),
                           [](std::size_t sum, const Batch& batch) { return sum + batch.changes.size(); });
}

Outbox::Batch& Outbox::next(const std::string& mark, std::int64_t seen) {
    if (uncertain.empty()) {
        Batch batch{mark, seen, false, {}};
        while (!entries.empty() && batch.changes.size() < BATCH) {
            auto& entry = entries.front();
            newest.erase(entry.inOrder ? ~std::uint64_t{0} : entry.change.object);
            ordered -= entry.inOrder ? 1 : 0;
            batch.changes.push_back(std::move(entry.change));
            entries.pop_front();
        }
        uncertain.push_back(std::move(batch));
    }
    return uncertain.front();
}

void Outbox::dropChannel(std::uint64_t channel) {
    for (auto& batch : uncertain) {
        const auto end = std::remove_if(batch.changes.begin(), batch.changes.end(),
                                        [channel](const Change& change) { return change.object == channel; });
        batch.changes.erase(end, batch.changes.end());
    }
    for (auto entry = entries.begin(); entry != entries.end();) {
        const bool goes = entry->change.object == channel;
        ordered -= goes && entry->inOrder ? 1 : 0;
        entry = goes ? entries.erase(entry) : std::next(entry);
    }
    newest.erase(channel);
    while (!uncertain.empty() && uncertain.front().changes.empty()) {
        uncertain.pop_front();
    }
}

void Outbox::clear() {
    uncertain.clear();
    entries.clear();
    newest.clear();
    ordered = 0;
}

std::size_t Outbox::takeLost() {
    return std::exchange(lost, 0);
}

} // namespace tessapi
