#include "platform/tessapi/engine/Wakeup.h"

#include <climits>
#include <ctime>
#include <linux/futex.h>
#include <random>
#include <sys/syscall.h>
#include <unistd.h>

namespace tessapi {

namespace {

constexpr std::uint32_t NOBODY = 0;
constexpr std::uint32_t SEVERAL = 1;

void futex(std::atomic<std::uint32_t>& word, int operation, std::uint32_t value, const timespec* timeout) {
    static_assert(sizeof word == sizeof(std::uint32_t));
    // A failure is an early return, which every caller expects.
    syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word), operation, value, timeout, nullptr, 0);
}

} // namespace

Wakeup::Wakeup(SharedPage& owner) :
    page{owner}, self{SEVERAL + 1 + std::random_device{}() % (UINT32_MAX - SEVERAL)} {}

void Wakeup::signal() {
    auto& words = page.words();
    words.commits.fetch_add(1);
    if (words.waiting.exchange(NOBODY) != NOBODY) {
        futex(words.commits, FUTEX_WAKE, INT_MAX, nullptr);
    }
}

void Wakeup::signalOthers() {
    auto& words = page.words();
    words.commits.fetch_add(1);
    const auto who = words.waiting.load();
    if (who != NOBODY && who != self && words.waiting.exchange(NOBODY) != NOBODY) {
        futex(words.commits, FUTEX_WAKE, INT_MAX, nullptr);
    }
}

void Wakeup::count() {
    page.words().commits.fetch_add(1);
}

Wakeup::Ticket Wakeup::ticket() const {
    return page.words().commits.load();
}

void Wakeup::wait(Ticket taken, std::chrono::milliseconds longest) {
    auto& words = page.words();
    auto who = NOBODY;
    if (!words.waiting.compare_exchange_strong(who, self) && who != self) {
        words.waiting.store(SEVERAL);
    }
    const timespec timeout{longest.count() / 1000, (longest.count() % 1000) * 1'000'000};
    futex(words.commits, FUTEX_WAIT, taken, &timeout);
}

} // namespace tessapi
