#include "platform/tessapi/network/HeardWrites.h"

#include <algorithm>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;

} // namespace

bool HeardWrites::isRepeat(const WriteMark& mark, std::int64_t seq) {
    if (mark.number == 0) {
        return false;
    }
    MutexLock lock{mutex};
    auto& heard = writers[mark.writer];
    if (mark.number > heard.number) {
        heard.number = mark.number;
        heard.seq = seq;
        forgetOldest();
        return false;
    }
    if (seq > heard.seq && mark.number > heard.repeated) {
        heard.repeated = heard.number;
        heard.repeatedFrom = seq;
    }
    return mark.number <= heard.repeated && seq >= heard.repeatedFrom;
}

void HeardWrites::begin(std::vector<WriteMark> written, std::int64_t seq) {
    MutexLock lock{mutex};
    before = std::move(written);
    beforeSeq = seq;
}

void HeardWrites::pass(std::int64_t seq) {
    MutexLock lock{mutex};
    if (seq < beforeSeq) {
        return;
    }
    for (const auto& mark : std::exchange(before, {})) {
        auto& heard = writers[mark.writer];
        if (mark.number > heard.number) {
            heard.number = mark.number;
            heard.seq = beforeSeq;
        }
    }
    while (writers.size() > MOST) {
        forgetOldest();
    }
}

std::size_t HeardWrites::size() const {
    MutexLock lock{mutex};
    return writers.size();
}

void HeardWrites::forgetOldest() {
    if (writers.size() > MOST) {
        writers.erase(std::min_element(writers.begin(), writers.end(), [](const auto& a, const auto& b) {
            return a.second.seq < b.second.seq;
        }));
    }
}

} // namespace tessapi
