#include "kit/Memory.h"

#include <cstddef>
#include <malloc.h>

/// There in a build with a sanitizer, whose heap is its own.
extern "C" [[gnu::weak]] std::size_t __sanitizer_get_current_allocated_bytes(); // NOLINT: not our name

namespace velk::kit {

std::int64_t memoryInUse() {
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return static_cast<std::int64_t>(__sanitizer_get_current_allocated_bytes());
    }
    const auto heap = mallinfo2();
    return static_cast<std::int64_t>(heap.uordblks + heap.hblkhd);
}

} // namespace velk::kit
