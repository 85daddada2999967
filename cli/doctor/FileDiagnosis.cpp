#include "cli/doctor/FileDiagnosis.h"

#include "cli/doctor/JsonFile.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

namespace velk::cli {

namespace {

namespace fs = std::filesystem;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

constexpr mode_t OTHERS = S_IRWXO;
constexpr mode_t GROUP_WORKS = S_IRGRP | S_IWGRP;

std::string ownerName(uid_t number) {
    const passwd* entry = getpwuid(number); // NOLINT(concurrency-mt-unsafe): one thread
    return entry == nullptr ? std::to_string(number) : entry->pw_name;
}

std::string groupName(gid_t number) {
    const group* entry = getgrgid(number); // NOLINT(concurrency-mt-unsafe): one thread
    return entry == nullptr ? std::to_string(number) : entry->gr_name;
}

std::string described(const FileFacts& file) {
    return file.path + " (" + file.owner + ":" + file.group + ", " + file.rights() + ")";
}

/// Several files in one line.
struct FileList {
    std::string descriptions;
    std::string names; ///< each behind a blank

    void add(const FileFacts& file) {
        descriptions += (descriptions.empty() ? "" : ", ") + described(file);
        names += " " + file.path;
    }
};

Diagnosis diagnoseSecret(const std::string& path) {
    const auto facts = factsOf(path);
    if (!facts) {
        return Diagnosis::problem(
            "secrets", path + " is not there, or not for this user to see",
            "put the password into its first line, readable by the daemon's group alone");
    }
    if ((facts->mode & OTHERS) != 0) {
        return Diagnosis::problem("secrets", described(*facts) + " holds a password and is open to others",
                                  "chmod o-rwx " + path);
    }
    return Diagnosis::ok("secrets", described(*facts));
}

/// "passwordFile" and "password", wherever they stand.
void collectSecrets(const Node& node, const std::string& file, Diagnoses& found) {
    for (const Node& member : node.members()) {
        const bool isText = member.getValueType() == ValueType::String;
        if (isText && member.name() == "passwordFile") {
            found.push_back(diagnoseSecret((fs::path{file}.parent_path() / member.text()).string()));
        } else if (isText && member.name() == "password") {
            found.push_back(diagnoseSecret(file));
        }
        collectSecrets(member, file, found);
    }
}

} // namespace

bool FileFacts::isFolder() const {
    return S_ISDIR(mode);
}

std::string FileFacts::rights() const {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%04o", static_cast<unsigned int>(mode & 07777));
    return text.data();
}

std::optional<FileFacts> factsOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileFacts{path, status.st_mode, ownerName(status.st_uid), groupName(status.st_gid)};
}

std::vector<FileFacts> filesOfStore(const std::string& file) {
    std::vector<FileFacts> files;
    const std::string folder = fs::path{file}.parent_path().string();
    for (const std::string& path :
         {folder.empty() ? std::string{"."} : folder, file, file + "-wal", file + "-shm", file + "-lock"}) {
        if (const auto facts = factsOf(path)) {
            files.push_back(*facts);
        }
    }
    return files;
}

Diagnoses diagnoseFiles(const std::vector<FileFacts>& files) {
    FileList open;
    FileList closed;
    for (const FileFacts& file : files) {
        // A folder that others may pass does no harm; one that they may write to does.
        const mode_t tooMuch = file.isFolder() ? S_IWOTH : OTHERS;
        if ((file.mode & tooMuch) != 0 && (file.mode & S_ISVTX) == 0) {
            open.add(file);
        } else if (!file.isFolder() && (file.mode & GROUP_WORKS) != GROUP_WORKS) {
            closed.add(file);
        }
    }
    Diagnoses found;
    if (!open.names.empty()) {
        found.push_back(Diagnosis::problem("permissions", "open to others: " + open.descriptions,
                                           "chmod o-rwx" + open.names));
    }
    if (!closed.names.empty()) {
        found.push_back(Diagnosis::note(
            "permissions", "for the owner alone, the group can neither look nor ask: " + closed.descriptions,
            "chmod g+rw" + closed.names));
    }
    if (found.empty() && !files.empty()) {
        found.push_back(Diagnosis::ok("permissions", described(files.size() > 1 ? files[1] : files.front())));
    }
    return found;
}

Diagnoses diagnoseSecrets(const std::string& path) {
    Diagnoses found;
    lookIntoJson(path, [&](const Node& root) { collectSecrets(root, path, found); });
    return found;
}

} // namespace velk::cli
