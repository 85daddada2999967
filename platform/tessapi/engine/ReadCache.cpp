#include "platform/tessapi/engine/ReadCache.h"

#include "platform/tessapi/engine/CoarseClock.h"
#include "platform/tessapi/engine/Generation.h"

namespace tessapi {

namespace {

using velk::common::MutexLock;

constexpr std::int64_t LONGEST_USE_MS = 250;

/// A program that goes through all channels once shall not keep all of them.
constexpr std::size_t MOST_ENTRIES = 16'384;

} // namespace

bool ReadCache::isPresent(std::uint64_t generation) const {
    return generation == present && coarseNowMs() - sinceMs < LONGEST_USE_MS;
}

const TypedValue* ReadCache::find(std::uint64_t generation, std::uint64_t channel) {
    if (!isPresent(generation)) {
        return nullptr;
    }
    const auto found = entries.find(channel);
    return found == entries.end() ? nullptr : &found->second;
}

std::optional<qz::datatype> ReadCache::typeOf(std::uint64_t generation, std::uint64_t channel) {
    MutexLock lock{mutex};
    const auto* known = find(generation, channel);
    return known == nullptr ? std::nullopt : std::optional{known->type};
}

std::optional<qz::CValue> ReadCache::valueOf(std::uint64_t generation, std::uint64_t channel) {
    MutexLock lock{mutex};
    const auto* known = find(generation, channel);
    return known == nullptr ? std::nullopt : std::optional{known->value};
}

std::optional<std::map<std::uint64_t, qz::CValue>>
ReadCache::valuesOf(std::uint64_t generation, std::span<const std::uint64_t> channels) {
    MutexLock lock{mutex};
    std::map<std::uint64_t, qz::CValue> values;
    if (!isPresent(generation)) {
        return std::nullopt; // so without channels too
    }
    for (const auto channel : channels) {
        const auto* known = find(generation, channel);
        if (known == nullptr) {
            return std::nullopt;
        }
        values.emplace(channel, known->value);
    }
    return values;
}

std::optional<std::uint64_t> ReadCache::deviceOf(std::uint64_t generation, const velk::common::Uuid& uuid) {
    MutexLock lock{mutex};
    const auto known = isPresent(generation) ? devices.find(uuid) : devices.end();
    return known == devices.end() ? std::nullopt : std::optional{known->second};
}

bool ReadCache::admit(std::uint64_t before, std::uint64_t after) {
    if (before != after || !Generation::isSettled(before)) {
        return false;
    }
    const bool isOlder = Generation::isSettled(present) && before < present;
    if (isOlder) {
        return false;
    }
    const auto now = coarseNowMs();
    if (before != present || now - sinceMs >= LONGEST_USE_MS ||
        entries.size() + devices.size() >= MOST_ENTRIES) {
        clear();
        present = before;
        sinceMs = now;
    }
    return true;
}

void ReadCache::keep(std::uint64_t before, std::uint64_t after, std::uint64_t channel, TypedValue known) {
    MutexLock lock{mutex};
    if (admit(before, after)) {
        entries.insert_or_assign(channel, std::move(known));
    }
}

void ReadCache::keepDevice(std::uint64_t before, std::uint64_t after, const velk::common::Uuid& uuid,
                           std::uint64_t device) {
    MutexLock lock{mutex};
    if (admit(before, after)) {
        devices.insert_or_assign(uuid, device);
    }
}

void ReadCache::keep(std::uint64_t generation, std::span<const Change> writes) {
    for (const auto& change : writes) {
        const auto type = change.value.type();
        if (change.kind == Change::Kind::value && type) { // without a value the channel has another type now
            keep(generation, generation, change.object, {*type, change.value});
        }
    }
}

void ReadCache::forget() {
    MutexLock lock{mutex};
    clear();
}

void ReadCache::clear() {
    entries.clear();
    devices.clear();
}

void ReadCache::follow(std::uint64_t before, std::uint64_t after,
                       std::span<const std::pair<std::uint64_t, qz::CValue>> changed) {
    MutexLock lock{mutex};
    if (before != present || !Generation::isSettled(before)) {
        return;
    }
    present = after;
    for (const auto& [channel, value] : changed) {
        if (const auto entry = entries.find(channel); entry != entries.end()) {
            entry->second.value = value;
        }
    }
}

} // namespace tessapi
