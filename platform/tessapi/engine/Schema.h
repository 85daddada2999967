#pragma once

#include "platform/tessapi/engine/Database.h"

#include <cstdint>
#include <functional>

namespace tessapi {

/// The tables of the store.
namespace Schema {

inline constexpr std::int64_t VERSION = 2;
/// "TESS": marks a database file as a store.
inline constexpr std::int64_t APPLICATION_ID = 0x54455353;
/// "TESK": the copy on disk of a store that is worked on in memory.
inline constexpr std::int64_t KEPT_ID = 0x5445534B;
/// "TESW": what is worked on in memory.
inline constexpr std::int64_t WORKING_ID = 0x54455357;
/// Identifiers that the store gives start here; those below are for wanted ones.
inline constexpr std::uint64_t FIRST_FREE_ID = 1000;

/// Whether the database has nothing in it yet.
bool isEmpty(Database& database);

/// Makes the tables and the root device, and what `more` makes, all or nothing.
void create(
    Database& database, std::int64_t applicationId = APPLICATION_ID,
    const std::function<void()>& more = [] {});

/// Brings a store of an earlier version up to this one, all or nothing; leaves any other as it is.
void upgrade(Database& database);

/// Throws `StoreFault::foreign` or `wrongVersion` unless this is a store of this version.
void verify(Database& database, std::int64_t expectedId = APPLICATION_ID);

std::int64_t applicationId(Database& database);

/// Reads all of it, and throws `StoreFault::corrupt` when it contradicts itself.
void checkSound(Database& database);

} // namespace Schema

} // namespace tessapi
