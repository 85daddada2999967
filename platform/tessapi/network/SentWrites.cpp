#include "platform/tessapi/network/SentWrites.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace tessapi {

void SentWrites::add(Outbox::Batch batch, std::chrono::nanoseconds now) {
    count(batch);
    batches.push_back({std::move(batch), now});
    ageOld(now);
}

void SentWrites::ageOld(std::chrono::nanoseconds now) {
    while (!batches.empty() && (writes > MOST || bytes > MOST_BYTES || batches.front().time + KEPT < now)) {
        uncount(batches.front().batch);
        age(std::move(batches.front().batch));
        batches.pop_front();
    }
}

void SentWrites::count(const Outbox::Batch& batch) {
    writes += batch.changes.size();
    for (const auto& change : batch.changes) {
        bytes += Outbox::bytesOf(change);
    }
}

void SentWrites::uncount(const Outbox::Batch& batch) {
    writes -= batch.changes.size();
    for (const auto& change : batch.changes) {
        bytes -= Outbox::bytesOf(change);
    }
}

void SentWrites::age(Outbox::Batch batch) {
    std::vector<Change> last; // of each channel, from the end
    std::unordered_set<std::uint64_t> known;
    for (auto change = batch.changes.rbegin(); change != batch.changes.rend(); ++change) {
        if (!isInOrder(change->object) && known.insert(change->object).second) {
            last.push_back(std::move(*change));
        }
    }
    if (last.empty()) {
        return;
    }
    std::reverse(last.begin(), last.end());
    for (const auto& change : last) {
        forget(change.object);
        newest[change.object] = batch.number;
    }
    old[batch.number] = {batch.number, false, std::move(last)};
    while (newest.size() > MOST) {
        forget(old.begin()->second.changes.front().object);
    }
}

void SentWrites::forget(std::uint64_t channel) {
    const auto known = newest.find(channel);
    if (known == newest.end()) {
        return;
    }
    const auto batch = old.find(known->second);
    auto& changes = batch->second.changes;
    changes.erase(std::remove_if(changes.begin(), changes.end(),
                                 [channel](const Change& change) { return change.object == channel; }),
                  changes.end());
    if (changes.empty()) {
        old.erase(batch);
    }
    newest.erase(known);
}

std::vector<Outbox::Batch> SentWrites::takeAfter(std::uint64_t done, std::chrono::nanoseconds now) {
    ageOld(now); // the last write may be long ago
    std::vector<Outbox::Batch> taken;
    const auto firstOld = old.upper_bound(done);
    for (auto entry = firstOld; entry != old.end(); ++entry) {
        for (const auto& change : entry->second.changes) {
            newest.erase(change.object);
        }
        taken.push_back(std::move(entry->second));
    }
    old.erase(firstOld, old.end());
    const auto first = std::find_if(batches.begin(), batches.end(),
                                    [done](const Sent& sent) { return sent.batch.number > done; });
    for (auto sent = first; sent != batches.end(); ++sent) {
        uncount(sent->batch);
        taken.push_back(std::move(sent->batch));
    }
    batches.erase(first, batches.end());
    return taken;
}

} // namespace tessapi
