#pragma once

#include "platform/tessapi/TessAccessor.h"

#include <memory>
#include <string>

namespace velk::cli {

/// The URL of the store that a person means: `named`, or without it the one that the environment gives.
/// Throws `Failure` with `BadConfiguration` when that names none.
std::string storeUrl(const std::string& named);

/// Opens that store; `create` makes one that is not there. Throws `Failure` for a URL that is none, by who
/// gave it. The threads of the store leave SIGINT and SIGTERM to the others.
std::unique_ptr<tessapi::TessAccessor> openStore(const std::string& named, bool create);

} // namespace velk::cli
