#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace tessapi {

/// Tells cheaply that a file was not removed or replaced: it then has a name less, which the file itself says
/// in a fraction of the time that it takes to follow its path. What only the path tells (the file or a folder
/// above it was moved) has to be looked at from time to time.
/// Threads: those of its owner.
class FileSeat {
public:
    /// What tells a file from every other that is there or open at the same time.
    struct Identity {
        std::uint64_t device{0};
        std::uint64_t inode{0}; ///< 0 for no file
    };

    /// Without a file nothing ever touches it.
    FileSeat() = default;
    /// `path` exists; empty for none.
    explicit FileSeat(const std::string& path);
    ~FileSeat();
    FileSeat(FileSeat&& other) noexcept { *this = std::move(other); }
    FileSeat& operator=(FileSeat&& other) noexcept;

    /// False when the path has to be followed to know. Unless that ends with a `doubt`, the file is then
    /// taken to be in its place.
    bool isUntouched();
    Identity identity() const;
    void doubt() { trusted = false; }

private:
    bool none{true};
    int file{-1};
    bool trusted{false};
    std::uint64_t names{0};
    std::int64_t lookedMs{0}; ///< of a clock that nobody sets
};

} // namespace tessapi
