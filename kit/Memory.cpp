#include "kit/Memory.h"

#include <fstream>
#include <malloc.h>
#include <unistd.h>

namespace velk::kit {

std::int64_t memoryInUse() {
    const auto heap = mallinfo2();
    if (heap.uordblks != 0) {
        return static_cast<std::int64_t>(heap.uordblks + heap.hblkhd);
    }
    std::int64_t total = 0;
    std::int64_t resident = 0;
    std::ifstream{"/proc/self/statm"} >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

} // namespace velk::kit
