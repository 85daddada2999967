// Of the programs that tests start: their wall clock is off by the number of seconds that the file
// VELK_CLOCK_FILE holds at this moment, if the environment names one. The clock that nobody sets stays as it
// is.

#include "platform/common/Export.h"

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

const volatile std::int64_t* mapShift() {
    static const std::int64_t none = 0;
    const char* path = std::getenv("VELK_CLOCK_FILE");
    const int file = path == nullptr ? -1 : ::open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return &none;
    }
    void* address = ::mmap(nullptr, sizeof none, PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    return address == MAP_FAILED ? &none : static_cast<const std::int64_t*>(address);
}

std::int64_t shift() {
    static const volatile std::int64_t* const seconds = mapShift();
    return *seconds;
}

} // namespace

extern "C" VELK_EXPORT int clock_gettime(clockid_t clock, timespec* time) noexcept {
    using Call = int (*)(clockid_t, timespec*);
    static const auto call = reinterpret_cast<Call>(::dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = call(clock, time);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        time->tv_sec += shift();
    }
    return result;
}

extern "C" VELK_EXPORT int gettimeofday(timeval* time, void*) noexcept {
    timespec now{};
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return result;
}

extern "C" VELK_EXPORT time_t time(time_t* result) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}
