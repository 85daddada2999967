#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "plugins/simulator/world/Fault.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velk::simulator {

/// The faults that are there now. Of the kinds that concern the whole device there is one at most, a new one
/// takes its place; those of data points and operations add up.
///
/// Threads: any.
class FaultTable {
public:
    explicit FaultTable(const std::vector<Fault>& first = {});

    void add(const Fault& fault) VELK_EXCLUDES(mutex);
    void clear() VELK_EXCLUDES(mutex);
    void clear(FaultKind kind) VELK_EXCLUDES(mutex);

    bool has(FaultKind kind) const { return find(kind).has_value(); }
    std::optional<Fault> find(FaultKind kind) const VELK_EXCLUDES(mutex);
    /// Whether there is one of this kind for the data point.
    bool concerns(FaultKind kind, const std::string& point) const VELK_EXCLUDES(mutex);

    std::vector<Fault> all() const VELK_EXCLUDES(mutex);

    /// Throws what the first fault of this operation, and of this data point, says: a std::runtime_error or a
    /// `ForeignException`. A fault that has been used as often as it says is gone.
    void throwIf(Operation operation, const std::string& point = {}) VELK_EXCLUDES(mutex);

private:
    mutable velk::common::Mutex mutex;
    std::vector<Fault> faults VELK_GUARDED_BY(mutex);
    std::atomic<bool> isEmpty; ///< so that a device without faults costs nothing
};

/// An exception that is not derived from the standard one.
struct ForeignException {
    std::string what;
};

} // namespace velk::simulator
