#pragma once

#include "platform/common/Export.h"

#include <string>
#include <sys/types.h>
#include <system_error>

namespace velk::common {

/// Files and folders that the programs of one group share: for the owner and the group and for nobody else,
/// whatever the umask of the program that makes them. The group is that of the folder they are made in, where
/// the program may give it.
///
/// What is there already keeps its owner, its group and its mode: somebody may have chosen them.
/// Threads: any.
namespace GroupFile {

inline constexpr mode_t FILE_MODE = 0660;
/// With the bit that hands the folder's group on to what is made in it.
inline constexpr mode_t FOLDER_MODE = 02770;

/// Opens the file `path` with `flags`, O_CLOEXEC and, unless `mode` is given, 0660; it is made when it is
/// missing, and has its rights from its first moment on where the file system can do that. Gives the
/// descriptor, or -1 with the reason in `errno`.
VELK_EXPORT int open(const std::string& path, int flags, mode_t mode = FILE_MODE);

/// Gives an open file that this program has made, and that nobody else has had so far, the rights of one that
/// `open` makes at `path`. False with the reason in `errno`.
VELK_EXPORT bool adopt(int file, const std::string& path, mode_t mode = FILE_MODE);

/// Makes the empty file `path` likewise unless there is one, which is not even opened: whoever closes a file
/// gives up all locks of the process on it. True when there is a file then, else the reason is in `errno`.
VELK_EXPORT bool make(const std::string& path, mode_t mode = FILE_MODE);

/// Makes the folder `path` for the group; folders above it that are missing are made as the umask says. True
/// when it was made, false when it was there, or with the reason in `error`.
VELK_EXPORT bool makeFolder(const std::string& path, std::error_code& error);

} // namespace GroupFile

} // namespace velk::common
