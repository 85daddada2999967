#pragma once

#include "platform/tessapi/StoreImage.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tessapi::faults {

/// The measured values of a store after each call of a run, and which of them a copy has surely brought to
/// the disk.
/// Threads: one.
class MeasuredValues {
public:
    /// The store after the next call. `copiedMs`, read before the call was marked, is when its measured
    /// values were copied last.
    void note(const StoreImage& image, std::int64_t copiedMs);

    /// Copies that were seen to be done.
    std::size_t copies() const { return seen; }

    /// What is wrong with the values that a cut after the mark of `call` has left, -1 for a cut before the
    /// first one; empty for nothing.
    std::string problemOf(const StoreImage& found, std::int64_t call) const;

private:
    using Stamps = std::map<std::uint64_t, std::int64_t>; ///< by channel, when it was written

    std::set<std::string> ever; ///< each value with its channel and times
    std::vector<Stamps> written;
    std::vector<std::optional<std::size_t>>
        onDisk; ///< for each call the one whose values are there, or newer
    std::int64_t lastCopyMs{0};
    std::size_t lastCopyAt{0};
    std::size_t seen{0};
};

} // namespace tessapi::faults
