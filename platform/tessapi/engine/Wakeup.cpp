#include "platform/tessapi/engine/Wakeup.h"

#include <climits>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tessapi {

namespace {

void futex(std::atomic<std::uint32_t>& word, int operation, std::uint32_t value, const timespec* timeout) {
    static_assert(sizeof word == sizeof(std::uint32_t));
    // A failure is an early return, which every caller expects.
    syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word), operation, value, timeout, nullptr, 0);
}

} // namespace

void Wakeup::signal() {
    auto& words = page.words();
    words.commits.fetch_add(1);
    if (words.waiting.exchange(0) != 0) {
        futex(words.commits, FUTEX_WAKE, INT_MAX, nullptr);
    }
}

Wakeup::Ticket Wakeup::ticket() const {
    return page.words().commits.load();
}

void Wakeup::wait(Ticket taken, std::chrono::milliseconds longest) {
    auto& words = page.words();
    words.waiting.store(1);
    const timespec timeout{longest.count() / 1000, (longest.count() % 1000) * 1'000'000};
    futex(words.commits, FUTEX_WAIT, taken, &timeout);
}

} // namespace tessapi
