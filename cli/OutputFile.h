#pragma once

#include <fstream>
#include <ostream>
#include <string>

namespace velk::cli {

/// A file that somebody has named for what a program prints.
///
/// A regular file, and one that is not there yet, comes into being whole or not at all, for the group of its
/// folder (GroupFile); behind a symbolic link that is the file to which it leads. Whatever else has the name,
/// a device or a pipe, stays what it is, and is written as the text comes.
class OutputFile {
public:
    /// Throws Failure when it cannot be written; so does `finish`.
    explicit OutputFile(const std::string& name);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::ostream& out() { return stream; }

    /// All of it is there at return. Without this call a regular file stays as it was.
    void finish();

private:
    const std::string target; ///< no symbolic link
    std::string draft;        ///< empty: written straight through, or moved into its place
    int descriptor{-1};       ///< of the draft
    std::ofstream stream;
};

} // namespace velk::cli
