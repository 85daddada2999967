#include "tests/scenarios/Memory.h"

#include <fstream>
#include <malloc.h>
#include <unistd.h>

namespace velk::scenarios {

std::uint64_t residentKiB() {
    malloc_trim(0);
    std::ifstream statm{"/proc/self/statm"};
    std::uint64_t size = 0;
    std::uint64_t resident = 0;
    statm >> size >> resident;
    return resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) / 1024;
}

} // namespace velk::scenarios
