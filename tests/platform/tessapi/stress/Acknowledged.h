#pragma once

#include <cstdint>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace tessapi::stress {

/// The greatest number that the store has acknowledged to a writer, in a file of its own: a writer may be
/// killed at any instruction and must not have forgotten what it was told.
class Acknowledged {
public:
    explicit Acknowledged(const std::string& path) :
        file{::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)} {
        if (file < 0) {
            throw std::runtime_error{"cannot open " + path};
        }
    }
    ~Acknowledged() { ::close(file); }
    Acknowledged(const Acknowledged&) = delete;
    Acknowledged& operator=(const Acknowledged&) = delete;

    void set(std::uint32_t number) const {
        if (::pwrite(file, &number, sizeof number, 0) != sizeof number) {
            throw std::runtime_error{"cannot note an acknowledged write"};
        }
    }

    /// 0 when there was none.
    std::uint32_t get() const {
        std::uint32_t number = 0;
        return ::pread(file, &number, sizeof number, 0) == sizeof number ? number : 0;
    }

private:
    const int file;
};

} // namespace tessapi::stress
