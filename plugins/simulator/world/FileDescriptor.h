#pragma once

#include <unistd.h>
#include <utility>

namespace velk::simulator {

/// Owns an open file.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int open) : number{open} {}
    FileDescriptor(FileDescriptor&& other) noexcept : number{std::exchange(other.number, -1)} {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~FileDescriptor() {
        if (number != -1) {
            ::close(number);
        }
    }

    /// -1 for none.
    int get() const { return number; }
    bool isOpen() const { return number != -1; }

private:
    int number{-1};
};

} // namespace velk::simulator
