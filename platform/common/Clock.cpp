#include "platform/common/Clock.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace velk::common {

namespace {

timespec toTimespec(Clock::Duration duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    timespec result{};
    result.tv_sec = static_cast<std::time_t>(seconds.count());
    result.tv_nsec = static_cast<long>((duration - seconds).count());
    return result;
}

Clock::Duration read(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
}

class SystemClock final : public Clock {
public:
    Duration now() const override { return read(CLOCK_MONOTONIC); }

    Duration cpuTime() const override { return read(CLOCK_PROCESS_CPUTIME_ID); }

    void sleepFor(Duration pause) override {
        timespec left = toTimespec(std::max(pause, Duration::zero()));
        while (nanosleep(&left, &left) == -1 && errno == EINTR) {
        }
    }

    void waitFor(std::condition_variable_any& condition, MutexLock& lock, Duration timeout) override {
        // The deadline of a very long wait would overflow; waking early is allowed.
        constexpr Duration LONGEST_WAIT = std::chrono::hours{1};
        condition.wait_for(lock, std::min(timeout, LONGEST_WAIT));
    }
};

} // namespace

Clock::~Clock() = default;

Clock& Clock::system() {
    // Never destroyed: threads may go by it until the process ends.
    static Clock* const machine = new SystemClock;
    return *machine;
}

} // namespace velk::common
