#include "platform/common/SecretFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace velk::common {

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
    throw std::runtime_error{path + " " + reason};
}

[[noreturn]] void refuseUnread(const std::string& path, int error) {
    refuse(path, "cannot be read: " + std::generic_category().message(error));
}

class Descriptor {
public:
    explicit Descriptor(const std::string& path) :
        // Without waiting: a pipe of this name would hold the program up for good.
        number{::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)} {
        if (number < 0) {
            refuseUnread(path, errno);
        }
    }
    ~Descriptor() { ::close(number); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    const int number;
};

/// "0644"
std::string octal(mode_t mode) {
    char text[8];
    std::snprintf(text, sizeof text, "%04o", static_cast<unsigned int>(mode & 07777U));
    return text;
}

/// Of the file that is open, so that nobody can put another one in its place between the check and the use.
void refuseOpenToOthers(int file, const std::string& path) {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        refuseUnread(path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(path, "is no regular file");
    }
    if ((status.st_mode & S_IROTH) != 0) {
        refuse(path,
               "can be read by everybody (mode " + octal(status.st_mode) + "); chmod o= makes it usable");
    }
    if ((status.st_mode & S_IWOTH) != 0) {
        refuse(path,
               "can be changed by everybody (mode " + octal(status.st_mode) + "); chmod o= makes it usable");
    }
}

std::string contentOf(int file, const std::string& path) {
    std::string content(SecretFile::MAX_BYTES + 1, '\0');
    std::size_t size = 0;
    while (size < content.size()) {
        const ssize_t count = ::read(file, content.data() + size, content.size() - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            refuseUnread(path, errno);
        }
        if (count == 0) {
            break;
        }
        size += static_cast<std::size_t>(count);
    }
    if (size > SecretFile::MAX_BYTES) {
        refuse(path, "has more than " + std::to_string(SecretFile::MAX_BYTES) + " bytes");
    }
    content.resize(size);
    return content;
}

} // namespace

std::string SecretFile::read(const std::string& path) {
    const Descriptor file{path};
    refuseOpenToOthers(file.number, path);
    std::string secret = contentOf(file.number, path);
    secret.resize(std::min(secret.find('\n'), secret.size()));
    if (!secret.empty() && secret.back() == '\r') {
        secret.pop_back();
    }
    if (secret.empty()) {
        refuse(path, "is empty in its first line");
    }
    if (secret.find('\0') != std::string::npos) {
        refuse(path, "has a NUL byte in its first line");
    }
    return secret;
}

void SecretFile::checkAccess(const std::string& path) {
    refuseOpenToOthers(Descriptor{path}.number, path);
}

} // namespace velk::common
