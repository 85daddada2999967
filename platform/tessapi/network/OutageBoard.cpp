#include "platform/tessapi/network/OutageBoard.h"

#include "platform/common/WallTime.h"
#include "platform/tessapi/engine/StoreUrl.h"
#include "platform/tessapi/engine/Warning.h"

#include <algorithm>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;

} // namespace

OutageBoard& OutageBoard::ofProcess() {
    // Never destroyed: a store may be left by what is.
    static auto& board =
        *new OutageBoard{StoreUrl::runtimeFolder()}; // NOLINT(cppcoreguidelines-owning-memory)
    return board;
}

OutageBoard::OutageBoard(std::string noteFolder, LossBoard& lossBoard, velk::common::Clock& pauseClock) :
    folder{std::move(noteFolder)}, losses{lossBoard}, clock{pauseClock} {}

void OutageBoard::begin(const std::string& store, Part part, const std::string& why) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    if (outage.parts.empty()) {
        outage.sinceMs = velk::common::wallMs();
        warn(store, "cannot be reached: " + why + "; values are kept until it is back");
    }
    outage.parts[part] = {};
}

void OutageBoard::keep(const std::string& store, Part part, const Kept& kept) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    const auto known = outage.parts.find(part);
    if (known == outage.parts.end()) {
        return;
    }
    known->second = kept;
    if (!outage.note || clock.now() - outage.notedAt >= NOTE_PAUSE) {
        note(store, outage);
    }
}

void OutageBoard::note(const std::string& store, Outage& outage) {
    if (!outage.note) {
        outage.note = std::make_unique<OutageNote>(folder);
    }
    outage.notedAt = clock.now();
    StoreOutage told;
    told.store = store;
    told.sinceMs = outage.sinceMs;
    told.saidMs = velk::common::wallMs();
    told.givenUp = outage.givenUp;
    for (const auto& [part, kept] : outage.parts) {
        told.values += kept.values;
        told.channels += kept.channels;
        told.most = std::max<std::uint64_t>(told.most, kept.most);
    }
    outage.note->write(told);
}

void OutageBoard::giveUp(const std::string& store, std::size_t writes) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    if (outage.givenUp == 0) {
        warn(store, "too many writes are kept; from now on the oldest are given up");
    }
    outage.givenUp += writes;
}

void OutageBoard::end(const std::string& store, Part part, std::size_t written) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    outage.written += written;
    finish(store, part, outage);
}

void OutageBoard::leave(const std::string& store, Part part, std::size_t lost) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    outage.lost += lost;
    finish(store, part, outage);
}

void OutageBoard::lose(const std::string& store, Part part, std::size_t kept) {
    {
        MutexLock lock{mutex};
        auto& outage = outages[store];
        outage.parts.erase(part);
        outage.written = 0;
        outage.givenUp = 0;
        outage.lost = 0;
        if (outage.parts.empty()) {
            outage.note.reset();
        }
    }
    losses.lose(store, StoreFault::lost, kept);
}

void OutageBoard::finish(const std::string& store, Part part, Outage& outage) {
    outage.parts.erase(part);
    if (!outage.parts.empty()) {
        return;
    }
    if (outage.lost != 0) {
        warn(store,
             "this program ends, and " + std::to_string(outage.lost) + " values that it kept are lost");
    } else {
        warn(store,
             "is back; " + std::to_string(outage.written) + " values kept meanwhile were written" +
                 (outage.givenUp == 0 ? "" : ", " + std::to_string(outage.givenUp) + " were given up"));
    }
    outage = {};
}

} // namespace tessapi
