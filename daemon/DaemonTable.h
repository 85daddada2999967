#pragma once

#include "platform/program/ProgramTable.h"

namespace velk::daemon {

/// The command line of `powerdistributiond`: what its help and its manual page say.
const program::ProgramTable& daemonTable();

} // namespace velk::daemon
