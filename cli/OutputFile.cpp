#include "cli/OutputFile.h"

#include "cli/Failure.h"
#include "platform/common/GroupFile.h"

#include <cerrno>
#include <filesystem>
#include <stdlib.h> // NOLINT(modernize-deprecated-headers): mkstemp
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace velk::cli {

namespace {

namespace fs = std::filesystem;

/// As many as the kernel follows.
constexpr int MOST_LINKS = 40;

[[noreturn]] void fail(const std::string& file) {
    throw Failure{ExitCode::Failed, "cannot write " + file + ": " + std::generic_category().message(errno)};
}

/// Where `name` leads, also when there is nothing yet.
std::string behindLinks(const std::string& name) {
    fs::path place = name;
    std::error_code error;
    for (int i = 0; i < MOST_LINKS && fs::is_symlink(place, error); ++i) {
        place = place.parent_path() / fs::read_symlink(place, error);
    }
    return place.string();
}

bool isWrittenThrough(const std::string& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    return fs::exists(status) && !fs::is_regular_file(status);
}

} // namespace

// The links below /proc that stand for pipes lead nowhere by their text.
OutputFile::OutputFile(const std::string& name) : target{isWrittenThrough(name) ? name : behindLinks(name)} {
    if (isWrittenThrough(target)) {
        stream.open(target);
        if (!stream) {
            fail(target);
        }
        return;
    }
    draft = target + ".XXXXXX";
    descriptor = mkstemp(draft.data());
    if (descriptor < 0) {
        fail(target);
    }
    stream.open(draft);
}

OutputFile::~OutputFile() {
    if (descriptor >= 0) {
        close(descriptor);
    }
    if (!draft.empty() && descriptor >= 0) {
        unlink(draft.c_str());
    }
}

void OutputFile::finish() {
    stream.close();
    if (!stream) {
        fail(target);
    }
    if (draft.empty()) {
        return;
    }
    if (!velk::common::GroupFile::adopt(descriptor, target) || fsync(descriptor) != 0 ||
        rename(draft.c_str(), target.c_str()) != 0) {
        fail(target);
    }
    draft.clear();
}

} // namespace velk::cli
