#include "platform/tessapi/network/Outbox.h"

#include <algorithm>
#include <numeric>
#include <unordered_set>
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
    const auto bytes = bytesOf(change);
    while (ordered != 0 && (ordered == MOST || orderedBytes + bytes > MOST_BYTES)) {
        forgetOldest();
    }
    entries.push_back({std::move(change), true});
    ++ordered;
    orderedBytes += bytes;
}

std::size_t Outbox::bytesOf(const Change& change) {
    const auto& value = change.value.variant();
    const auto* text = std::get_if<std::string>(&value);
    const auto* bytes = std::get_if<qz::CValue::Bytes>(&value);
    return sizeof change + (text != nullptr ? text->size() : 0) + (bytes != nullptr ? bytes->size() : 0);
}

void Outbox::uncount(const Change& change) {
    --ordered;
    orderedBytes -= bytesOf(change);
}

void Outbox::forgetOldest() {
    const auto oldest =
        std::find_if(entries.begin(), entries.end(), [](const Entry& entry) { return entry.inOrder; });
    uncount(oldest->change);
    entries.erase(oldest);
    ++lost;
}

void Outbox::addSent(Batch batch) {
    const auto place = std::find_if(sent.begin(), sent.end(),
                                    [&](const Batch& other) { return other.number >= batch.number; });
    if (place == sent.end() || place->number != batch.number) {
        sent.insert(place, std::move(batch));
    }
}

std::size_t Outbox::size() const {
    return std::accumulate(sent.begin(), sent.end(), entries.size(),
                           [](std::size_t sum, const Batch& batch) { return sum + batch.changes.size(); });
}

std::size_t Outbox::channels() const {
    std::unordered_set<std::uint64_t> known;
    for (const auto& batch : sent) {
        for (const auto& change : batch.changes) {
            known.insert(change.object);
        }
    }
    for (const auto& entry : entries) {
        known.insert(entry.change.object);
    }
    return known.size();
}

Outbox::Batch& Outbox::next(std::uint64_t number) {
    if (sent.empty()) {
        Batch batch{number, false, {}};
        while (!entries.empty() && batch.changes.size() < BATCH) {
            auto& entry = entries.front();
            if (entry.inOrder) {
                uncount(entry.change);
            } else {
                newest.erase(entry.change.object);
            }
            batch.changes.push_back(std::move(entry.change));
            entries.pop_front();
        }
        sent.push_back(std::move(batch));
    }
    return sent.front();
}

void Outbox::drop(std::uint64_t number) {
    const auto done = std::find_if(sent.begin(), sent.end(),
                                   [number](const Batch& batch) { return batch.number == number; });
    if (done != sent.end()) {
        sent.erase(done);
    }
}

void Outbox::dropChannel(std::uint64_t channel) {
    for (auto& batch : sent) {
        const auto end = std::remove_if(batch.changes.begin(), batch.changes.end(),
                                        [channel](const Change& change) { return change.object == channel; });
        batch.changes.erase(end, batch.changes.end());
    }
    for (auto entry = entries.begin(); entry != entries.end();) {
        const bool goes = entry->change.object == channel;
        if (goes && entry->inOrder) {
            uncount(entry->change);
        }
        entry = goes ? entries.erase(entry) : std::next(entry);
    }
    newest.erase(channel);
    const auto end =
        std::remove_if(sent.begin(), sent.end(), [](const Batch& batch) { return batch.changes.empty(); });
    sent.erase(end, sent.end());
}

void Outbox::clear() {
    sent.clear();
    entries.clear();
    newest.clear();
    ordered = 0;
    orderedBytes = 0;
}

std::size_t Outbox::takeLost() {
    return std::exchange(lost, 0);
}

} // namespace tessapi
