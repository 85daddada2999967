#include "plugins/simulator/world/FileSearch.h"

#include <system_error>

namespace velk::simulator {

std::filesystem::path findFile(const std::filesystem::path& name,
                               const std::vector<std::filesystem::path>& folders) {
    for (const std::filesystem::path& folder : folders) {
        std::error_code ignored;
        if (std::filesystem::is_regular_file(folder / name, ignored)) {
            return (folder / name).lexically_normal();
        }
    }
    return folders.empty() ? name : (folders.front() / name).lexically_normal();
}

} // namespace velk::simulator
