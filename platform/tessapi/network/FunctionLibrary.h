#pragma once

#include "platform/tessapi/network/RedisConnection.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tessapi {

/// The functions of the store that run on the server.
namespace FunctionLibrary {

/// Rises with every change of the functions; their names have it in them, so that a program never calls
/// those of another version.
inline constexpr std::int64_t VERSION = 3;

/// The text of lua/ as it was when the library was built.
std::string_view text();

/// Loads the functions into a server that has none or older ones. Throws `StoreFault::wrongVersion` for newer
/// ones; `store` is for that message. Throws LinkError and ServerRefusal.
void load(RedisConnection& server, const std::string& store, const Deadline& deadline);

} // namespace FunctionLibrary

} // namespace tessapi
