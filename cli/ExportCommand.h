#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"
#include "cli/Surroundings.h"

#include <string>

namespace velk::cli {

/// `export [FILE]`: the whole store as one JSON document (see ImageWriter.h), to the standard output without
/// a file. A file is there whole or as it was before, readable by its group and not by others.
ExitCode runExport(Session& session, const std::string& file);

/// `import FILE`: fills a store that has nothing in it, made when it is not there, from such a document; "-"
/// is the standard input. All of it is checked before the store is touched, and a store has all of it or
/// nothing.
ExitCode runImport(Surroundings& surroundings, const std::string& file);

} // namespace velk::cli
