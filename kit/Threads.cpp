#include "kit/Threads.h"

#include <filesystem>
#include <iterator>

namespace velk::kit {

std::size_t threadsOfThisProcess() {
    const std::filesystem::directory_iterator tasks{"/proc/self/task"};
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

} // namespace velk::kit
