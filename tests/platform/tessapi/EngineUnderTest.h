#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tessapi::contract {

/// The engines of the store, all of which pass one and the same suite, and the servers that some of them
/// need.
namespace EngineUnderTest {

/// Every engine that there is.
std::vector<std::string> all();

/// Those that this run is about: `VELK_ENGINES` with commas between, else those that need no more than one
/// server on a Unix socket.
std::vector<std::string> chosen();

/// The URL of a store of its own in `engine`. Files of it go into `folder`, whose name is that of its site.
/// Starts the servers that the engine needs unless they run already.
std::string urlFor(const std::string& engine, const std::filesystem::path& folder);

/// The URL of another store of the same engine.
std::string otherUrl(const std::string& url);

} // namespace EngineUnderTest

} // namespace tessapi::contract
