#pragma once

namespace velk::cli {

/// How `tess` ends. The numbers are contract: scripts rely on them.
enum class ExitCode : int {
    Done = 0,
    Failed = 1,           ///< refused by the device or by the person asked, or failed
    Usage = 2,            ///< the command line makes no sense
    BadConfiguration = 3, ///< the environment names a store in a way that makes no sense
    NoSuchPath = 4,       ///< the store has nothing by that path
    StoreUnreachable = 5, ///< the store cannot be opened, read or written
    NotConnected = 6,     ///< the device cannot be reached now
    OutcomeUnknown = 7,   ///< nobody said in time what became of the request
};

} // namespace velk::cli
