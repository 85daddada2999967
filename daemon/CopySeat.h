#pragma once

#include <string>

namespace velk::daemon {

/// Tells whether the file that a path led to once was removed, or replaced by another one; a disk that is
/// away together with the file is neither.
/// Threads: one at a time.
class CopySeat {
public:
    /// Of no file, which is never lost.
    CopySeat() = default;
    /// Of the file at `path` now; of none when there is none.
    explicit CopySeat(std::string path);
    ~CopySeat();
    CopySeat(CopySeat&& other) noexcept;
    CopySeat& operator=(CopySeat&& other) noexcept;

    bool isLost() const;

private:
    std::string path;
    int file{-1}; ///< held, so that no other file gets its number
};

} // namespace velk::daemon
