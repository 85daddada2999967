#pragma once

#include "tests/platform/tessapi/faults/FaultDisk.h"

#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace tessapi::faults {

/// The disk of a recorded run as it may be found after a power cut. What was synced is there; of what was
/// not, any part may be: writes are lost, done, or torn between two sectors of 512 bytes, each on its own, so
/// that a later one may be there without an earlier one. A file that was never synced may be missing.
/// Threads: one.
class CutDisk {
public:
    /// One more event has happened.
    void happen(const FaultDisk::Event& event);

    /// Writes what a cut at this moment may leave into `folder`.
    void leave(const std::filesystem::path& folder, std::minstd_rand& random) const;

private:
    struct File {
        std::string durable;
        bool isThere{false};   ///< its name is on the disk
        bool mayBeGone{false}; ///< removed, and the removal was not synced
        std::vector<FaultDisk::Event> unsynced;
    };

    static void apply(std::string& content, const FaultDisk::Event& event);
    static void applyPart(std::string& content, const FaultDisk::Event& event, std::minstd_rand& random);

    std::map<std::string, File> files;
};

} // namespace tessapi::faults
