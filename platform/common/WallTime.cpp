#include "platform/common/WallTime.h"

#include <chrono>

namespace velk::common {

std::int64_t wallMs() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
}

} // namespace velk::common
