#include "daemon/history/HistoryFile.h"

#include "platform/common/GroupFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velk::daemon {

namespace {

/// Larger files are none of ours.
constexpr std::uintmax_t LARGEST_FILE = std::uintmax_t{1} << 30U;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error{errno, std::generic_category(), what};
}

/// An open file for a scope.
class OpenFile {
public:
    OpenFile(const std::filesystem::path& path, int flags) :
        descriptor{velk::common::GroupFile::open(path, flags)} {
        if (descriptor < 0) {
            fail(path.string());
        }
    }
    ~OpenFile() { close(descriptor); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    void write(const ByteVector& content) const {
        std::size_t written = 0;
        while (written < content.size()) {
            const ssize_t step = ::write(descriptor, content.data() + written, content.size() - written);
            if (step < 0 && errno != EINTR) {
                fail("write");
            }
            written += step < 0 ? 0 : static_cast<std::size_t>(step);
        }
    }

    std::string read() const {
        std::string content;
        std::array<char, 65'536> piece{};
        while (true) {
            const ssize_t step = ::read(descriptor, piece.data(), piece.size());
            if (step < 0 && errno != EINTR) {
                fail("read");
            }
            if (step == 0) {
                return content;
            }
            content.append(piece.data(), step < 0 ? 0 : static_cast<std::size_t>(step));
        }
    }

    void sync() const {
        if (fsync(descriptor) != 0) {
            fail("fsync");
        }
    }

private:
    int descriptor;
};

/// "20261121T133811Z"
std::string stampOf(std::int64_t nowMs) {
    const auto seconds = static_cast<std::time_t>(nowMs / 1000);
    std::tm time{};
    gmtime_r(&seconds, &time);
    std::array<char, 24> text{};
    std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &time);
    return text.data();
}

/// All that the system has to say against a file is a std::system_error, so that it is not taken for a fault
/// of what is in it. Empty for a file that is not there.
std::optional<std::string> contentOf(const std::filesystem::path& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        fail(file.string());
    }
    if (!S_ISREG(status.st_mode)) {
        throw std::system_error{std::make_error_code(std::errc::invalid_argument), "it is no regular file"};
    }
    if (static_cast<std::uintmax_t>(status.st_size) > LARGEST_FILE) {
        throw std::runtime_error{"is too large for a history"};
    }
    return OpenFile{file, O_RDONLY}.read();
}

} // namespace

HistoryFile::HistoryFile(std::filesystem::path place, std::ostream& errorStream) :
    file{std::move(place)}, errors{errorStream} {}

void HistoryFile::load(HistoryBook& book, std::int64_t nowMs) {
    try {
        if (const std::optional<std::string> content = contentOf(file)) {
            book.load(*content);
        }
    } catch (const std::system_error& failure) {
        leave(failure.what());
    } catch (const std::bad_alloc&) {
        leave("there is no memory for it");
    } catch (const std::exception& failure) {
        setAside(failure.what(), nowMs);
    }
}

void HistoryFile::setAside(const std::string& why, std::int64_t nowMs) {
    const std::filesystem::path aside{file.string() + ".damaged-" + stampOf(nowMs)};
    std::error_code error;
    std::filesystem::rename(file, aside, error);
    const std::string fate =
        error ? "and cannot be set aside: " + error.message() : "and is set aside as " + aside.string();
    errors << "powerdistributiond: the history " + file.string() + " " + why + ", " + fate +
                  "; a new one begins\n"
           << std::flush;
}

void HistoryFile::leave(const std::string& why) {
    isForeign = true;
    errors << "powerdistributiond: the history " + file.string() + " cannot be read: " + why +
                  "; it is left as it is, and the new one stays in memory\n"
           << std::flush;
}

void HistoryFile::save(const HistoryBook& book, std::int64_t nowMs) {
    if (isForeign) {
        return;
    }
    try {
        write(book.save(nowMs));
        failing = false;
    } catch (const std::exception& failure) {
        if (!std::exchange(failing, true)) {
            errors << "powerdistributiond: the history cannot be saved: " + std::string{failure.what()} +
                          "; it stays in memory\n"
                   << std::flush;
        }
    }
}

void HistoryFile::write(const ByteVector& content) const {
    const std::filesystem::path draft{file.string() + ".new"};
    {
        const OpenFile stream{draft, O_WRONLY | O_TRUNC | O_NOFOLLOW};
        stream.write(content);
        stream.sync();
    }
    std::filesystem::rename(draft, file);
    // The name is on the disk only with its folder.
    const OpenFile folder{file.has_parent_path() ? file.parent_path() : ".", O_RDONLY | O_DIRECTORY};
    folder.sync();
}

} // namespace velk::daemon
