#pragma once

namespace tessapi {

/// The layer between the database and the file system that SQLite uses by default: logs are `GatheredLog`s,
/// databases have `WriterLocks`, everything else is as below.
/// Threads: any.
namespace DiskLayer {

/// The name of the layer over what is the default now, which is registered at the first call and stays.
const char* name();

} // namespace DiskLayer

} // namespace tessapi
