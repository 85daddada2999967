#include "daemon/history/HistoryBook.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace velk::daemon {

namespace {

using velk::common::MutexLock;
using velk::common::Uuid;

constexpr std::string_view MAGIC = "velk history 1\n";
/// What a table takes for an entry besides the entry.
constexpr std::size_t NODE_BYTES = 48;

/// Of the same bytes always the same, and most likely another of others.
std::uint64_t checksumOf(std::string_view bytes) {
    std::uint64_t sum = 0xCBF29CE484222325U;
    for (const char byte : bytes) {
        sum = (sum ^ static_cast<std::uint8_t>(byte)) * 0x100000001B3U;
    }
    return sum;
}

std::string_view wholeOf(const ByteVector& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::size_t bytesOf(const HistoryBook::Key& key, const ChannelHistory& history) {
    const std::size_t nameBytes = key.second.capacity() > 15 ? key.second.capacity() + 1 : 0;
    return sizeof(HistoryBook::Key) + nameBytes + sizeof(ChannelHistory) + history.heapBytes() + NODE_BYTES;
}

void saveEntry(ByteVector& file, const HistoryBook::Key& key, const ChannelHistory& history) {
    const auto& uuid = key.first.data();
    file.insert(file.end(), uuid.begin(), uuid.end());
    putText(file, key.second);
    putRaw(file, static_cast<std::uint8_t>(history.kind()));
    putRaw(file, static_cast<std::uint8_t>(history.type()));
    history.save(file);
}

std::pair<HistoryBook::Key, ChannelHistory> loadEntry(ByteReader& file) {
    Uuid::Bytes uuid{};
    const std::string_view raw = file.take(uuid.size());
    std::copy(raw.begin(), raw.end(), uuid.begin());
    std::string name{file.text()};
    const auto kind = file.raw<std::uint8_t>();
    const auto type = file.raw<std::uint8_t>();
    if (kind > static_cast<std::uint8_t>(HistoryKind::text) ||
        type > static_cast<std::uint8_t>(qz::datatype::binary)) {
        throw std::runtime_error{"has a channel that makes no sense"};
    }
    ChannelHistory history{static_cast<HistoryKind>(kind), static_cast<qz::datatype>(type)};
    history.load(file);
    return std::pair{HistoryBook::Key{Uuid{uuid}, std::move(name)}, std::move(history)};
}

} // namespace

std::size_t HistoryBook::Entry::bytes() const {
    return bytesOf(key, history);
}

bool HistoryBook::meet(std::uint64_t channel, const Key& key, HistoryKind kind, qz::datatype type) {
    const MutexLock lock{mutex};
    if (known.contains(channel)) {
        return true;
    }
    ChannelHistory history{kind, type};
    const auto former = waiting.find(key);
    if (former != waiting.end() && former->second.kind() == kind && former->second.type() == type) {
        history = std::move(former->second);
        waiting.erase(former);
        count();
    }
    Entry entry{key, std::move(history)};
    const std::size_t wanted = entry.bytes();
    if (used + wanted > limits.bytes) {
        shrink();
    }
    if (used + wanted > limits.bytes) {
        return false;
    }
    used += wanted;
    known.emplace(channel, std::move(entry));
    return true;
}

void HistoryBook::leave(std::uint64_t channel) {
    const MutexLock lock{mutex};
    const auto found = known.find(channel);
    if (found == known.end()) {
        return;
    }
    if (!found->second.history.isEmpty()) {
        found->second.history.forgetSuspended();
        waiting.insert_or_assign(std::move(found->second.key), std::move(found->second.history));
    }
    known.erase(found);
    count();
}

void HistoryBook::leaveAll(std::int64_t timeMs) {
    const MutexLock lock{mutex};
    for (auto& [_, entry] : known) {
        if (!entry.history.isEmpty()) {
            entry.history.suspend(timeMs, limits.spans);
            entry.history.forgetSuspended();
            waiting.insert_or_assign(std::move(entry.key), std::move(entry.history));
        }
    }
    known.clear();
    count();
}

void HistoryBook::forgetGone(std::int64_t beforeMs) {
    const MutexLock lock{mutex};
    std::erase_if(waiting, [beforeMs](const auto& row) { return row.second.newestMs() < beforeMs; });
    count();
}

void HistoryBook::add(std::uint64_t channel, std::int64_t timeMs, const qz::CValue& value) {
    const MutexLock lock{mutex};
    const auto found = known.find(channel);
    if (found == known.end()) {
        return;
    }
    ChannelHistory& history = found->second.history;
    const std::size_t before = history.heapBytes();
    if (history.add(timeMs, value, limits.spans)) {
        used = used - before + history.heapBytes();
        if (used > limits.bytes) {
            shrink();
        }
    }
}

void HistoryBook::follow(const IsAway& isAway, std::int64_t timeMs) {
    const MutexLock lock{mutex};
    for (auto& [channel, entry] : known) {
        follow(entry, isAway, timeMs);
    }
    if (used > limits.bytes) {
        shrink();
    }
}

void HistoryBook::follow(std::uint64_t channel, const IsAway& isAway, std::int64_t timeMs) {
    const MutexLock lock{mutex};
    if (const auto found = known.find(channel); found != known.end()) {
        follow(found->second, isAway, timeMs);
    }
}

void HistoryBook::follow(Entry& entry, const IsAway& isAway, std::int64_t timeMs) {
    const std::size_t before = entry.history.heapBytes();
    if (isAway(entry.key)) {
        entry.history.suspend(timeMs, limits.spans);
    } else {
        entry.history.resume(timeMs, limits.spans);
    }
    used = used - before + entry.history.heapBytes();
}

std::optional<HistorySlice> HistoryBook::slice(std::uint64_t channel, std::int64_t fromMs, std::int64_t toMs,
                                               std::size_t columns) const {
    const MutexLock lock{mutex};
    const auto found = known.find(channel);
    if (found == known.end() || found->second.history.isEmpty()) {
        return std::nullopt;
    }
    return found->second.history.slice(fromMs, toMs, columns);
}

std::size_t HistoryBook::bytes() const {
    const MutexLock lock{mutex};
    return used;
}

std::size_t HistoryBook::channels() const {
    const MutexLock lock{mutex};
    return known.size();
}

void HistoryBook::count() {
    used = 0;
    for (const auto& [channel, entry] : known) {
        used += entry.bytes();
    }
    for (const auto& [key, history] : waiting) {
        used += bytesOf(key, history);
    }
}

/// The oldest that is known and the newest change of all.
std::pair<std::int64_t, std::int64_t> HistoryBook::ends() const {
    std::pair<std::int64_t, std::int64_t> found{std::numeric_limits<std::int64_t>::max(),
                                                std::numeric_limits<std::int64_t>::min()};
    const auto look = [&found](const ChannelHistory& history) {
        if (!history.isEmpty()) {
            found.first = std::min(found.first, history.oldestMs());
            found.second = std::max(found.second, history.newestMs());
        }
    };
    for (const auto& [channel, entry] : known) {
        look(entry.history);
    }
    for (const auto& [key, history] : waiting) {
        look(history);
    }
    return found;
}

void HistoryBook::dropBefore(std::int64_t timeMs) {
    for (auto& [channel, entry] : known) {
        entry.history.dropBefore(timeMs);
    }
    for (auto history = waiting.begin(); history != waiting.end();) {
        const bool isOver = history->second.newestMs() < timeMs;
        if (!isOver) {
            history->second.dropBefore(timeMs);
        }
        history = isOver ? waiting.erase(history) : std::next(history);
    }
    count();
}

/// Makes some room, so that it is not called for every change. The part of the time that goes is an eighth of
/// what is left each time: stamps may lie decades apart where a clock was wrong.
void HistoryBook::shrink() {
    const std::size_t wanted = limits.bytes - limits.bytes / 8;
    auto [cutMs, newestMs] = ends();
    while (used > wanted && cutMs < newestMs) {
        cutMs += std::max<std::int64_t>((newestMs - cutMs) / 8, 1000);
        dropBefore(std::min(cutMs, newestMs));
    }
    if (used > wanted) {
        waiting.clear();
        count();
    }
}

ByteVector HistoryBook::save(std::int64_t savedMs) const {
    const MutexLock lock{mutex};
    ByteVector file(MAGIC.begin(), MAGIC.end());
    file.reserve(used);
    putVarint(file, zigzag(savedMs));
    putVarint(file, known.size() + waiting.size());
    for (const auto& [channel, entry] : known) {
        saveEntry(file, entry.key, entry.history);
    }
    for (const auto& [key, history] : waiting) {
        saveEntry(file, key, history);
    }
    putRaw(file, checksumOf(wholeOf(file)));
    return file;
}

void HistoryBook::load(std::string_view file) {
    ByteReader magic{file};
    if (file.size() < MAGIC.size() + sizeof(std::uint64_t) || magic.take(MAGIC.size()) != MAGIC) {
        throw std::runtime_error{"is no history"};
    }
    const std::string_view content = file.substr(0, file.size() - sizeof(std::uint64_t));
    ByteReader sum{file.substr(content.size())};
    if (sum.raw<std::uint64_t>() != checksumOf(content)) {
        throw std::runtime_error{"is damaged: its checksum is wrong"};
    }
    ByteReader reader{content.substr(MAGIC.size())};
    const std::int64_t savedMs = unzigzag(reader.varint());
    Waiting loaded;
    for (std::uint64_t left = reader.varint(); left > 0; --left) {
        auto [key, history] = loadEntry(reader);
        history.add(savedMs, qz::CValue{}, limits.spans);
        loaded.insert_or_assign(std::move(key), std::move(history));
    }
    const MutexLock lock{mutex};
    waiting = std::move(loaded);
    count();
    if (used > limits.bytes) {
        shrink();
    }
}

} // namespace velk::daemon
