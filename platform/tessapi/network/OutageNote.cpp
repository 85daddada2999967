#include "platform/tessapi/network/OutageNote.h"

#include "platform/common/GroupFile.h"
#include "platform/common/ProcessMark.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <pwd.h>
#include <random>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tessapi {

namespace {

namespace fs = std::filesystem;
using velk::common::ProcessMark;
using velk::common::GroupFile::adopt;

constexpr std::string_view HEAD = "tess-outage 1";
/// A folder with more of them is not one that programs have filled.
constexpr std::size_t MOST_NOTES = 100;
/// Behind the beginning of a name.
constexpr std::size_t NAME_DIGITS = 16;

/// An open file for a scope.
class OpenFile {
public:
    explicit OpenFile(int opened) : number{opened} {}
    ~OpenFile() {
        if (number >= 0) {
            ::close(number);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int descriptor() const { return number; }

private:
    int number;
};

std::string freshName() {
    std::random_device chance;
    std::string name{OutageNote::PREFIX};
    for (std::size_t digit = 0; digit < NAME_DIGITS; ++digit) {
        name += "0123456789abcdef"[chance() % 16];
    }
    return name;
}

/// Each field is a line, so none may have another one in it.
std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char letter) { return letter < ' '; }, '_');
    return text;
}

/// The rest of the line that `text` has to begin with `name`; takes the line away.
std::string_view takeField(std::string_view& text, std::string_view name) {
    const auto end = text.find('\n');
    if (end == std::string_view::npos || !text.starts_with(name) || text.size() <= name.size() ||
        text[name.size()] != ' ') {
        throw std::runtime_error{"it has no line \"" + std::string{name} + "\" in its place"};
    }
    const auto value = text.substr(name.size() + 1, end - name.size() - 1);
    text.remove_prefix(end + 1);
    return value;
}

template <class Number>
Number takeNumber(std::string_view& text, std::string_view name) {
    const auto digits = takeField(text, name);
    Number number{0};
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc{} || end != digits.data() + digits.size() || number < Number{0}) {
        throw std::runtime_error{"\"" + std::string{name} + "\" is no number"};
    }
    return number;
}

int processOf(std::string_view mark) {
    constexpr std::string_view FIELD = "pid=";
    int process = 0;
    if (mark.starts_with(FIELD)) {
        mark.remove_prefix(FIELD.size());
        std::from_chars(mark.data(), mark.data() + mark.size(), process);
    }
    if (process <= 0) {
        throw std::runtime_error{"it names no process"};
    }
    return process;
}

std::string nameOfUser(uid_t user) {
    std::array<char, 4096> space{};
    passwd entry{};
    passwd* known = nullptr;
    ::getpwuid_r(user, &entry, space.data(), space.size(), &known);
    return known == nullptr ? "user " + std::to_string(user) : entry.pw_name;
}

std::string bytesOf(int file) {
    std::string text(OutageNote::MAX_BYTES + 1, '\0');
    const auto length = ::read(file, text.data(), text.size());
    if (length < 0) {
        throw std::system_error{errno, std::generic_category(), "it cannot be read"};
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}

/// What is at `path`, in a folder of `ownerOfFolder`; empty when it has just gone. Throws the reason why
/// nobody may rely on it.
std::optional<OutageNote::Content> contentAt(const std::string& path, uid_t ownerOfFolder) {
    const OpenFile file{::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)};
    struct stat status {};
    if (file.descriptor() < 0 || ::fstat(file.descriptor(), &status) != 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        if (errno == ELOOP) {
            throw std::runtime_error{"it is a symbolic link"};
        }
        throw std::system_error{errno, std::generic_category(), "it cannot be read"};
    }
    if (!S_ISREG(status.st_mode)) {
        throw std::runtime_error{"it is no regular file"};
    }
    if (status.st_uid != 0 && status.st_uid != ownerOfFolder && status.st_uid != ::geteuid()) {
        throw std::runtime_error{"it belongs to " + nameOfUser(status.st_uid)};
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw std::runtime_error{"others than its owner may write it"};
    }
    const auto text = bytesOf(file.descriptor());
    if (text.size() > OutageNote::MAX_BYTES) {
        throw std::runtime_error{"it is longer than such a note is"};
    }
    return OutageNote::contentOf(text);
}

/// The paths of the notes in a folder, the first `MOST_NOTES` + 1 of them.
std::vector<std::string> notesIn(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (fs::directory_iterator entry{folder, error};
         !error && entry != fs::directory_iterator{} && paths.size() <= MOST_NOTES; entry.increment(error)) {
        const auto name = entry->path().filename().string();
        if (name.starts_with(OutageNote::PREFIX) && name.size() == OutageNote::PREFIX.size() + NAME_DIGITS) {
            paths.push_back(entry->path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

bool mayRun(const OutageNote::Content& content) {
    return ProcessMark::mayRun(content.mark, ProcessMark::Origin::thisMachine);
}

/// What a program that was killed has left.
void removeDead(const std::string& folder) {
    for (const auto& path : notesIn(folder)) {
        try {
            struct stat status {};
            const auto content = contentAt(path, ::geteuid());
            if (content && !mayRun(*content) && ::lstat(path.c_str(), &status) == 0 &&
                status.st_uid == ::geteuid()) {
                ::unlink(path.c_str());
            }
        } catch (const std::runtime_error&) {
            continue; // not ours to judge
        }
    }
}

bool isUsable(const std::string& folder) {
    struct stat status {};
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        velk::common::GroupFile::makeFolder(folder, error);
    }
    return ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && (status.st_mode & S_IWOTH) == 0;
}

} // namespace

OutageNote::OutageNote(const std::string& folder) : mark{ProcessMark::ofThisProcess()} {
    if (!folder.empty() && isUsable(folder)) {
        removeDead(folder);
        path = folder + "/" + freshName();
    }
}

OutageNote::~OutageNote() {
    if (!path.empty()) {
        ::unlink(path.c_str());
    }
}

void OutageNote::write(const StoreOutage& outage) const {
    if (path.empty()) {
        return;
    }
    const auto next = path + ".new";
    const auto text = textOf(outage, mark);
    ::unlink(next.c_str()); // of an attempt that failed
    const OpenFile file{
        ::open(next.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR)};
    const bool isWritten =
        file.descriptor() >= 0 && adopt(file.descriptor(), next, MODE) &&
        ::write(file.descriptor(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (!isWritten || ::rename(next.c_str(), path.c_str()) != 0) {
        ::unlink(next.c_str());
    }
}

std::string OutageNote::textOf(const StoreOutage& outage, const std::string& mark) {
    const auto number = [](std::string_view name, auto value) {
        return std::string{name} + " " + std::to_string(value) + "\n";
    };
    // Options of a URL name files with passwords; nobody needs them to know the store.
    const auto store = outage.store.substr(0, outage.store.find('?'));
    return std::string{HEAD} + "\nprocess " + oneLine(mark) + "\nstore " + oneLine(store) + "\n" +
           number("since", outage.sinceMs) + number("said", outage.saidMs) + number("values", outage.values) +
           number("channels", outage.channels) + number("most", outage.most) +
           number("given-up", outage.givenUp);
}

OutageNote::Content OutageNote::contentOf(std::string_view text) {
    Content content;
    auto& outage = content.outage;
    const auto head = std::string{HEAD} + "\n";
    if (!text.starts_with(head)) {
        throw std::runtime_error{"it does not begin with \"" + std::string{HEAD} + "\""};
    }
    text.remove_prefix(head.size());
    content.mark = takeField(text, "process");
    outage.process = processOf(content.mark);
    outage.store = takeField(text, "store");
    outage.sinceMs = takeNumber<std::int64_t>(text, "since");
    outage.saidMs = takeNumber<std::int64_t>(text, "said");
    outage.values = takeNumber<std::uint64_t>(text, "values");
    outage.channels = takeNumber<std::uint64_t>(text, "channels");
    outage.most = takeNumber<std::uint64_t>(text, "most");
    outage.givenUp = takeNumber<std::uint64_t>(text, "given-up");
    return content;
}

void OutageNote::look(const std::string& folder, StoreOutages& found) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || ::access(folder.c_str(), R_OK | X_OK) != 0) {
        return;
    }
    found.folders.push_back(folder);
    if ((status.st_mode & S_IWOTH) != 0) {
        found.refused.push_back(folder + ": everybody may write into it");
        return;
    }
    const auto paths = notesIn(folder);
    if (paths.size() > MOST_NOTES) {
        found.refused.push_back(folder + ": there are more notes in it than programs leave");
        return;
    }
    for (const auto& path : paths) {
        try {
            auto content = contentAt(path, status.st_uid);
            if (content && mayRun(*content)) {
                found.outages.push_back(std::move(content->outage));
            }
        } catch (const std::runtime_error& reason) {
            found.refused.push_back(path + ": " + reason.what());
        }
    }
}

} // namespace tessapi
