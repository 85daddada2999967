#include "platform/tessapi/engine/LossBoard.h"

#include "platform/tessapi/engine/Warning.h"

#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;

std::string wordsOf(StoreFault fault) {
    return fault == StoreFault::lost ? "the server has lost the store or has another one of its name"
                                     : "the store's file was removed or replaced";
}

} // namespace

LossBoard& LossBoard::ofProcess() {
    // Never destroyed: a store may be left by what is.
    static auto& board = *new LossBoard; // NOLINT(cppcoreguidelines-owning-memory)
    return board;
}

void LossBoard::find(const std::string& store) {
    MutexLock lock{mutex};
    told.erase(store);
}

void LossBoard::lose(const std::string& store, StoreFault fault, std::size_t kept) {
    MutexLock lock{mutex};
    if (claims != 0) {
        values[store] += kept;
        return;
    }
    const bool isNews = told.insert(store).second;
    if (isNews) {
        warn(store, wordsOf(fault) +
                        (kept == 0 ? "" : "; " + std::to_string(kept) + " values kept are lost") +
                        "; it has to be opened anew");
    } else if (kept != 0) {
        warn(store, std::to_string(kept) + " more values kept are lost");
    }
}

void LossBoard::claim() {
    MutexLock lock{mutex};
    ++claims;
}

bool LossBoard::isClaimed() {
    MutexLock lock{mutex};
    return claims != 0;
}

void LossBoard::announce() {
    MutexLock lock{mutex};
    announced = claims != 0;
}

bool LossBoard::isAnnounced() {
    MutexLock lock{mutex};
    return announced;
}

void LossBoard::release() {
    MutexLock lock{mutex};
    --claims;
    announced = announced && claims != 0;
    for (const auto& [store, count] : std::exchange(values, {})) {
        if (count != 0) {
            warn(store, std::to_string(count) + " more values kept are lost");
        }
    }
}

std::uint64_t LossBoard::takeValues() {
    MutexLock lock{mutex};
    std::uint64_t sum = 0;
    for (const auto& [store, count] : std::exchange(values, {})) {
        sum += count;
    }
    return sum;
}

} // namespace tessapi
