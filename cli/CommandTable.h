#pragma once

#include "platform/program/ProgramTable.h"

namespace velk::cli {

/// The commands of `tess`: what its help, its manual page and its completions say. A command is added by its
/// row here and by the lines in `CommandLine` that say where its values go.
const program::ProgramTable& commandTable();

} // namespace velk::cli
