#pragma once

#include "daemon/history/ChannelHistory.h"
#include "platform/common/Mutex.h"
#include "platform/common/Uuid.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace velk::daemon {

/// The histories of the channels of a store, in bounded memory: when it is full the oldest that is known goes
/// first, of all channels alike.
///
/// A channel is known by the number that the store gives it, and is found again in a file, or after it was
/// gone for a while, by its device and name.
///
/// Threads: any.
class HistoryBook {
public:
    struct Limits {
        std::size_t bytes{8U << 20U};
        HistorySpans spans;
    };

    /// By which a channel is found again.
    using Key = std::pair<velk::common::Uuid, std::string>;

    explicit HistoryBook(const Limits& chosen) : limits{chosen} {}

    /// From now on `channel` has a history: the one that is known by its key when kind and type are the same,
    /// else a new one. False when there is no room for another.
    bool meet(std::uint64_t channel, const Key& key, HistoryKind kind, qz::datatype type)
        VELK_EXCLUDES(mutex);

    /// The channel is gone; its history waits for another one of the same key.
    void leave(std::uint64_t channel) VELK_EXCLUDES(mutex);

    /// All channels are gone, and their values from `timeMs` on unknown.
    void leaveAll(std::int64_t timeMs) VELK_EXCLUDES(mutex);

    /// Forgets channels that are gone and changed last before that.
    void forgetGone(std::int64_t beforeMs) VELK_EXCLUDES(mutex);

    /// Nothing happens for a channel that was not met.
    void add(std::uint64_t channel, std::int64_t timeMs, const qz::CValue& value) VELK_EXCLUDES(mutex);

    /// From `timeMs` on nobody knows the values of the channels of which `isAway` is true, and those of all
    /// others count again; what is added to the former counts when they come back. To be called whenever
    /// what `isAway` gives has changed, and for a channel that is met.
    using IsAway = std::function<bool(const Key&)>;
    void follow(const IsAway& isAway, std::int64_t timeMs) VELK_EXCLUDES(mutex);
    void follow(std::uint64_t channel, const IsAway& isAway, std::int64_t timeMs) VELK_EXCLUDES(mutex);

    /// See ChannelHistory::slice. Empty for a channel that was not met, or of which nothing is known.
    std::optional<HistorySlice> slice(std::uint64_t channel, std::int64_t fromMs, std::int64_t toMs,
                                      std::size_t columns) const VELK_EXCLUDES(mutex);

    /// What all of it takes, also the keys and the nodes of the tables.
    std::size_t bytes() const VELK_EXCLUDES(mutex);
    std::size_t channels() const VELK_EXCLUDES(mutex);

    /// Everything, as of `savedMs`, for a file.
    ByteVector save(std::int64_t savedMs) const VELK_EXCLUDES(mutex);

    /// Takes over what `save` has written; the channels are found when they are met. From the moment at which
    /// it was saved until a value comes nobody knows. Throws std::runtime_error that says what is wrong for
    /// anything else; then nothing has changed.
    void load(std::string_view file) VELK_EXCLUDES(mutex);

private:
    struct Entry {
        Key key;
        ChannelHistory history;
        std::size_t bytes() const;
    };
    using Waiting = std::map<Key, ChannelHistory>;

    void follow(Entry& entry, const IsAway& isAway, std::int64_t timeMs) VELK_REQUIRES(mutex);
    void shrink() VELK_REQUIRES(mutex);
    void dropBefore(std::int64_t timeMs) VELK_REQUIRES(mutex);
    std::pair<std::int64_t, std::int64_t> ends() const VELK_REQUIRES(mutex);
    void count() VELK_REQUIRES(mutex);

    const Limits limits;
    mutable velk::common::Mutex mutex;
    std::unordered_map<std::uint64_t, Entry> known VELK_GUARDED_BY(mutex);
    Waiting waiting VELK_GUARDED_BY(mutex);
    std::size_t used VELK_GUARDED_BY(mutex){0};
};

} // namespace velk::daemon
