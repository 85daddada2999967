#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>

namespace tessapi::faults {

inline std::string setting(const char* name) {
    const char* text = std::getenv(name); // NOLINT(concurrency-mt-unsafe): read only
    return text == nullptr ? "" : text;
}

/// `VELK_FAULTS=full` asks for every fault; otherwise a tenth of them is tried, and nothing waits for a
/// minute.
inline bool all() {
    return setting("VELK_FAULTS") == "full";
}

/// `VELK_SEED` chooses another run than the usual one.
inline std::uint32_t seed() {
    const auto text = setting("VELK_SEED");
    return text.empty() ? 20261121 : static_cast<std::uint32_t>(std::stoul(text));
}

/// Where folders of tests are made: where syncs cost nothing, if there is such a place. What a disk does is
/// simulated.
inline std::filesystem::path scratch() {
    const std::filesystem::path memory{"/dev/shm"};
    return std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
}

/// How many of `full` are tried in this run.
inline int share(int full) {
    return all() ? full : full / 10;
}

/// Counts the faults of one kind and says in one line how they ended.
class Tally {
public:
    explicit Tally(std::string kindOfFault) : kind{std::move(kindOfFault)} {}
    ~Tally() {
        std::cout << "FAULTS " + kind + ": tried " + std::to_string(tried) + ", survived " +
                         std::to_string(survived) + ", acknowledged lost " + std::to_string(lost) +
                         ", seed " + std::to_string(seed()) + (note.empty() ? "" : " (" + note + ")") + "\n"
                  << std::flush;
    }
    Tally(const Tally&) = delete;
    Tally& operator=(const Tally&) = delete;

    int tried{0};
    int survived{0};
    int lost{0};
    std::string note; ///< what else was measured

private:
    const std::string kind;
};

} // namespace tessapi::faults
