#include "platform/tessapi/network/SentWrites.h"

#include <algorithm>
#include <utility>

namespace tessapi {

void SentWrites::add(Outbox::Batch batch, std::chrono::nanoseconds now) {
    writes += batch.changes.size();
    batches.push_back({std::move(batch), now});
    while (!batches.empty() && (writes > MOST || batches.front().time + KEPT < now)) {
        writes -= batches.front().batch.changes.size();
        batches.pop_front();
    }
}

std::vector<Outbox::Batch> SentWrites::takeAfter(std::uint64_t done) {
    const auto first = std::find_if(batches.begin(), batches.end(),
                                    [done](const Sent& sent) { return sent.batch.number > done; });
    std::vector<Outbox::Batch> taken;
    for (auto sent = first; sent != batches.end(); ++sent) {
        writes -= sent->batch.changes.size();
        taken.push_back(std::move(sent->batch));
    }
    batches.erase(first, batches.end());
    return taken;
}

} // namespace tessapi
