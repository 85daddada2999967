#pragma once

#include <string>
#include <string_view>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace velk::fuzz {

/// A file in memory for readers that take a path.
class InputFile {
public:
    InputFile() : number{::memfd_create("input", MFD_CLOEXEC)} {
        if (number < 0) {
            throw std::system_error{errno, std::generic_category(), "memfd_create"};
        }
        name = "/proc/self/fd/" + std::to_string(number);
    }
    ~InputFile() { ::close(number); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    void hold(std::string_view content) const {
        const auto size = static_cast<ssize_t>(content.size());
        if (::ftruncate(number, 0) != 0 || ::pwrite(number, content.data(), content.size(), 0) != size) {
            throw std::system_error{errno, std::generic_category(), name};
        }
    }
    const std::string& path() const { return name; }

private:
    int number;
    std::string name;
};

} // namespace velk::fuzz
