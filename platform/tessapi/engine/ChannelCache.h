#pragma once

#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"
#include "platform/tessapi/engine/AlarmTable.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace tessapi {

/// What a program that writes has read of the channels: it stays true from one of its transactions to the
/// next as long as nobody else has changed the database. Threads: those of its database.
class ChannelCache {
public:
    struct Entry {
        std::uint64_t device{0};
        qz::datatype type{qz::datatype::unknown};
        qz::CValue value;
        std::int64_t changedMs{0};
        std::vector<AlarmTable::Row> triggers;
    };

    /// At the beginning of a transaction that sees the database in this version: forgets everything unless it
    /// is the one that the last commit has left.
    void begin(std::uint32_t version) {
        if (!committed || version != known) {
            clear();
        }
        committed = false;
    }
    /// After a commit. Without it the next `begin` forgets what the transaction has changed here.
    void commit(std::uint32_t version) {
        committed = true;
        known = version;
    }

    /// Null when it was not read yet. Stays where it is until it is forgotten.
    Entry* find(std::uint64_t channel) {
        const auto found = entries.find(channel);
        return found == entries.end() ? nullptr : &found->second;
    }
    Entry& add(std::uint64_t channel, Entry entry) {
        return entries.insert_or_assign(channel, std::move(entry)).first->second;
    }
    void forget(std::uint64_t channel) { entries.erase(channel); }
    void clear() { entries.clear(); }

private:
    std::unordered_map<std::uint64_t, Entry> entries;
    bool committed{false};
    std::uint32_t known{0}; ///< the version of the database that `entries` are of
};

} // namespace tessapi
