#include "platform/tessapi/network/OutageBoard.h"

#include <iostream>

namespace tessapi {

namespace {

using velk::common::MutexLock;

void say(const std::string& store, const std::string& text) {
    // One write for the whole line, which other threads may not split.
    std::cerr << "WARNING - store " + store + ": " + text + "\n" << std::flush;
}

} // namespace

OutageBoard& OutageBoard::ofProcess() {
    // Never destroyed: a store may be left by what is.
    static auto& board = *new OutageBoard; // NOLINT(cppcoreguidelines-owning-memory)
    return board;
}

void OutageBoard::open(const std::string& store) {
    MutexLock lock{mutex};
    outages[store].isStoreLost = false;
}

void OutageBoard::begin(const std::string& store, const std::string& why) {
    MutexLock lock{mutex};
    if (outages[store].parts++ == 0) {
        say(store, "cannot be reached: " + why + "; values are kept until it is back");
    }
}

void OutageBoard::giveUp(const std::string& store, std::size_t writes) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    if (outage.givenUp == 0) {
        say(store, "too many writes are kept; from now on the oldest are given up");
    }
    outage.givenUp += writes;
}

void OutageBoard::end(const std::string& store, std::size_t written) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    outage.written += written;
    finish(store, outage);
}

void OutageBoard::leave(const std::string& store, std::size_t lost) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    outage.lost += lost;
    finish(store, outage);
}

void OutageBoard::lose(const std::string& store, std::size_t kept, bool isMissing) {
    MutexLock lock{mutex};
    auto& outage = outages[store];
    if (!outage.isStoreLost || kept != 0) {
        say(store, "the server has lost the store or has another one of its name" +
                       (kept == 0 ? "" : "; " + std::to_string(kept) + " values kept are lost") +
                       "; it has to be opened anew");
    }
    const auto parts = isMissing ? outage.parts - 1 : outage.parts;
    outage = {};
    outage.parts = parts;
    outage.isStoreLost = true;
}

void OutageBoard::finish(const std::string& store, Outage& outage) {
    if (--outage.parts != 0) {
        return;
    }
    if (outage.lost != 0) {
        say(store, "this program ends, and " + std::to_string(outage.lost) + " values that it kept are lost");
    } else {
        say(store, "is back; " + std::to_string(outage.written) + " values kept meanwhile were written" +
                       (outage.givenUp == 0 ? "" : ", " + std::to_string(outage.givenUp) + " were given up"));
    }
    outage = {};
}

} // namespace tessapi
