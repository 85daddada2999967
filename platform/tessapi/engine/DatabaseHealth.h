#pragma once

#include "platform/tessapi/StoreHealth.h"
#include "platform/tessapi/engine/Database.h"

#include <string>

namespace tessapi {

/// What a database says of how it stands with its files.
namespace DatabaseHealth {

std::int64_t schemaVersion(Database& database);

StoreHealth::File file(Database& database, const std::string& path);

/// Of the copy `path` of a working database, as far as that knows: how often values are copied is left out.
StoreHealth::Copy copy(Database& working, const std::string& path);

} // namespace DatabaseHealth

} // namespace tessapi
