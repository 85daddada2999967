#pragma once

#include "platform/tessapi/engine/Database.h"

#include <cstdint>

namespace tessapi {

/// The tables of the store.
namespace Schema {

inline constexpr std::int64_t VERSION = 2;
/// "TESS": marks a database file as a store.
inline constexpr std::int64_t APPLICATION_ID = 0x54455353;
/// Identifiers that the store gives start here; those below are for wanted ones.
inline constexpr std::uint64_t FIRST_FREE_ID = 1000;

/// Whether the database has nothing in it yet.
bool isEmpty(Database& database);

/// Makes the tables and the root device, all or nothing.
void create(Database& database);

/// Throws `StoreFault::foreign` or `wrongVersion` unless this is a store of this version.
void verify(Database& database);

/// Reads all of it, and throws `StoreFault::corrupt` when it contradicts itself.
void checkSound(Database& database);

} // namespace Schema

} // namespace tessapi
