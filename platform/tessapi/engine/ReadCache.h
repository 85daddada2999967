#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/Uuid.h"
#include "platform/tessapi/engine/Change.h"
#include "platform/tessapi/engine/TypedValue.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>

namespace tessapi {

/// What one program knows of channels and devices, for as long as the `Generation` of the store says that it
/// holds; at most a quarter of a second, because the generation says nothing of a file that was removed and
/// of programs that write the database by themselves. Threads: any.
class ReadCache {
public:
    /// Empty when it is not known in this generation.
    std::optional<qz::datatype> typeOf(std::uint64_t generation, std::uint64_t channel) VELK_EXCLUDES(mutex);
    std::optional<qz::CValue> valueOf(std::uint64_t generation, std::uint64_t channel) VELK_EXCLUDES(mutex);
    /// Of all `channels`, or empty; of none only while anything may be known at all.
    std::optional<std::map<std::uint64_t, qz::CValue>> valuesOf(std::uint64_t generation,
                                                                std::span<const std::uint64_t> channels)
        VELK_EXCLUDES(mutex);
    /// The identifier of a device.
    std::optional<std::uint64_t> deviceOf(std::uint64_t generation, const velk::common::Uuid& uuid)
        VELK_EXCLUDES(mutex);

    /// Keeps what was read while the generation was `before` at first and `after` at last, if they allow it.
    void keep(std::uint64_t before, std::uint64_t after, std::uint64_t channel, TypedValue known)
        VELK_EXCLUDES(mutex);
    void keepDevice(std::uint64_t before, std::uint64_t after, const velk::common::Uuid& uuid,
                    std::uint64_t device) VELK_EXCLUDES(mutex);

    /// Keeps the values of the newest writes of some channels, in their order, which have led to
    /// `generation`.
    void keep(std::uint64_t generation, std::span<const Change> writes) VELK_EXCLUDES(mutex);

    /// A commit of this program has led from one generation to the other. It has removed nothing, and changed
    /// no type and no values but these.
    void follow(std::uint64_t before, std::uint64_t after,
                std::span<const std::pair<std::uint64_t, qz::CValue>> changed) VELK_EXCLUDES(mutex);

    void forget() VELK_EXCLUDES(mutex);

private:
    bool isPresent(std::uint64_t generation) const VELK_REQUIRES(mutex);
    const TypedValue* find(std::uint64_t generation, std::uint64_t channel) VELK_REQUIRES(mutex);
    /// Whether something that was read meanwhile may be kept; what is older is gone then.
    bool admit(std::uint64_t before, std::uint64_t after) VELK_REQUIRES(mutex);
    void clear() VELK_REQUIRES(mutex);

    velk::common::Mutex mutex;
    std::uint64_t present VELK_GUARDED_BY(mutex){1}; ///< at first one that nothing is ever kept of
    std::int64_t sinceMs VELK_GUARDED_BY(mutex){0};
    std::unordered_map<std::uint64_t, TypedValue> entries VELK_GUARDED_BY(mutex);
    std::unordered_map<velk::common::Uuid, std::uint64_t> devices VELK_GUARDED_BY(mutex);
};

} // namespace tessapi
