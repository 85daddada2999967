#include "platform/common/GroupFile.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace velk::common {

namespace {

namespace fs = std::filesystem;

std::string folderOf(const std::string& path) {
    const fs::path folder = fs::path{path}.parent_path();
    return folder.empty() ? "." : folder.string();
}

/// Of a file that this program has just made. The group is a wish: only a member may give it.
bool giveRights(int file, const std::string& folder, mode_t mode) {
    struct stat around {};
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        return false;
    }
    if (::stat(folder.c_str(), &around) == 0 && around.st_gid != status.st_gid) {
        [[maybe_unused]] const int ignored = ::fchown(file, static_cast<uid_t>(-1), around.st_gid);
    }
    // A service may be forbidden to hand groups on; what it makes is of its own group then.
    return ::fchmod(file, mode) == 0 ||
           ((mode & S_ISGID) != 0 && ::fchmod(file, mode & ~mode_t{S_ISGID}) == 0);
}

/// Ends with the file open, or gives up with -1 and `errno`.
int closeAndFail(int file) {
    const int reason = errno;
    ::close(file);
    errno = reason;
    return -1;
}

/// The file gets its name when it has its rights. EEXIST when somebody else was faster.
int makeNamedLast(const std::string& path, int flags, mode_t mode) {
    const std::string folder = folderOf(path);
    const int file = ::open(folder.c_str(), flags | O_TMPFILE | O_CLOEXEC, mode);
    if (file < 0) {
        return -1;
    }
    const std::string unnamed = "/proc/self/fd/" + std::to_string(file);
    const bool done = giveRights(file, folder, mode) &&
                      ::linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
    return done ? file : closeAndFail(file);
}

/// For file systems without files that have no name.
int makeNamedFirst(const std::string& path, int flags, mode_t mode) {
    const int file = ::open(path.c_str(), flags | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file < 0) {
        return -1;
    }
    return giveRights(file, folderOf(path), mode) ? file : closeAndFail(file);
}

int makeFile(const std::string& path, int flags, mode_t mode) {
    const int made = makeNamedLast(path, flags, mode);
    return made >= 0 || errno == EEXIST ? made : makeNamedFirst(path, flags, mode);
}

} // namespace

int GroupFile::open(const std::string& path, int flags, mode_t mode) {
    for (;;) {
        const int file = ::open(path.c_str(), flags | O_CLOEXEC);
        if (file >= 0 || errno != ENOENT) {
            return file;
        }
        const int made = makeFile(path, flags, mode);
        // Somebody else's file is opened; a link that leads nowhere is neither there nor can it be made.
        struct stat status {};
        if (made >= 0 || errno != EEXIST || ::stat(path.c_str(), &status) != 0) {
            return made;
        }
    }
}

bool GroupFile::adopt(int file, const std::string& path, mode_t mode) {
    return giveRights(file, folderOf(path), mode);
}

bool GroupFile::make(const std::string& path, mode_t mode) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        return true;
    }
    const int made = makeFile(path, O_RDWR, mode);
    if (made < 0) {
        return errno == EEXIST && ::stat(path.c_str(), &status) == 0;
    }
    ::close(made);
    return true;
}

bool GroupFile::makeFolder(const std::string& path, std::error_code& error) {
    error.clear();
    if (fs::is_directory(path, error)) {
        return false;
    }
    error.clear();
    const std::string above = folderOf(path);
    fs::create_directories(above, error);
    if (error) {
        return false;
    }
    if (::mkdir(path.c_str(), S_IRWXU) != 0) {
        std::error_code ignored;
        const int reason = errno;
        if (reason != EEXIST || !fs::is_directory(path, ignored)) {
            error.assign(reason, std::generic_category());
        }
        return false;
    }
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0 || !giveRights(folder, above, FOLDER_MODE)) {
        error.assign(errno, std::generic_category());
    }
    if (folder >= 0) {
        ::close(folder);
    }
    return !error;
}

} // namespace velk::common
