#pragma once

#include "platform/tessapi/network/RedisConnection.h"

#include <string>
#include <string_view>

namespace tessapi {

/// The functions of the store that run on the server.
namespace FunctionLibrary {

/// What their names begin with; the library is called so without the last character. Its number rises with
/// every change of the functions, so that those of several releases are on one server side by side and each
/// program calls its own. What programs of two releases may not do to one site raises `RedisLink::FORMAT`
/// besides.
inline const std::string PREFIX{"tess4_"};

/// The text of lua/ as it was when the library was built.
std::string_view text();

/// Loads the functions into a server that has none of this name, or another text of them. Throws LinkError
/// and ServerRefusal.
void load(RedisConnection& server, const Deadline& deadline);

} // namespace FunctionLibrary

} // namespace tessapi
