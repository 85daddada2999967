#pragma once

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace velk::testing {

/// Takes what this process writes to the standard error while it lives, to be read as often as one likes:
/// what another thread says comes when it comes. Threads: one reads; any write.
class StandardError {
public:
    StandardError() : usual{::dup(STDERR_FILENO)}, file{::memfd_create("stderr", MFD_CLOEXEC)} {
        if (usual < 0 || file < 0 || ::dup2(file, STDERR_FILENO) < 0) {
            throw std::system_error{errno, std::generic_category(), "cannot take the standard error"};
        }
    }
    ~StandardError() {
        ::dup2(usual, STDERR_FILENO);
        ::close(usual);
        ::close(file);
    }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    std::string text() const {
        std::string all;
        std::array<char, 4096> chunk{};
        ssize_t count = 0;
        while ((count = ::pread(file, chunk.data(), chunk.size(), static_cast<off_t>(all.size()))) > 0) {
            all.append(chunk.data(), static_cast<std::size_t>(count));
        }
        return all;
    }

    /// The text once it holds `part`, or after half a minute.
    std::string await(std::string_view part) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{30};
        std::string said = text();
        while (said.find(part) == std::string::npos && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds{2});
            said = text();
        }
        return said;
    }

private:
    const int usual;
    const int file;
};

} // namespace velk::testing
