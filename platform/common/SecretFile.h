#pragma once

#include "platform/common/Export.h"

#include <cstddef>
#include <string>

namespace velk::common {

/// A password or another short text that only some may know, kept in a file of its own.
class VELK_EXPORT SecretFile {
public:
    /// Longer than any password; a file above it is not the one that was meant.
    static constexpr std::size_t MAX_BYTES = 4096;

    /// The first line of the file without its end. What follows is for people.
    ///
    /// Throws std::runtime_error that begins with `path`, and never shows what the file holds, when it
    /// - cannot be opened, or is no regular file. Links are followed: the file behind them counts;
    /// - can be read or written by others than its owner and its group, whatever its folder allows;
    /// - has more than `MAX_BYTES`, an empty first line, or a NUL byte in it.
    static std::string read(const std::string& path);

    /// Throws as `read` does when the file cannot be opened, is no regular file, or is open to others: for a
    /// secret of another form, which a library reads by its path.
    static void checkAccess(const std::string& path);
};

} // namespace velk::common
