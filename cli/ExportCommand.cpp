#include "cli/ExportCommand.h"

#include "cli/Failure.h"
#include "cli/ImageReader.h"
#include "cli/ImageWriter.h"
#include "cli/Json.h"
#include "cli/OpenStore.h"

#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace velk::cli {

namespace {

[[noreturn]] void failFile(const std::string& file, const char* what) {
    throw Failure{ExitCode::Failed,
                  std::string{"cannot "} + what + " " + file + ": " + std::generic_category().message(errno)};
}

/// A file that takes the place of another one at once, or not at all.
class NewFile {
public:
    explicit NewFile(std::string file) : target{std::move(file)}, name{target + ".XXXXXX"} {
        descriptor = mkstemp(name.data());
        if (descriptor < 0) {
            failFile(target, "write");
        }
        stream.open(name);
    }
    ~NewFile() {
        close(descriptor);
        if (!name.empty()) {
            unlink(name.c_str());
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    std::ostream& out() { return stream; }

    void moveIntoPlace() {
        stream.close();
        if (!stream || fchmod(descriptor, 0660) != 0 || fsync(descriptor) != 0 ||
            rename(name.c_str(), target.c_str()) != 0) {
            failFile(target, "write");
        }
        name.clear();
    }

private:
    std::string target;
    std::string name; ///< empty once it has become the target
    int descriptor{-1};
    std::ofstream stream;
};

std::string contentOf(const std::string& file, std::istream& in) {
    std::ostringstream text;
    if (file == "-") {
        text << in.rdbuf();
        return text.str();
    }
    const std::ifstream stream{file};
    text << stream.rdbuf();
    struct stat status {};
    if (!stream || stat(file.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) {
        errno = errno == 0 ? EISDIR : errno;
        failFile(file, "read");
    }
    return text.str();
}

nlohmann::ordered_json countsOf(const std::string& url, const tessapi::StoreImage& image) {
    return {{"store", url},
            {"devices", image.content.devices.size()},
            {"channels", image.content.channels.size()},
            {"alarmEvents", image.alarmEvents.size()},
            {"writeRecords", image.writeRecords.size()}};
}

std::string countsText(const tessapi::StoreImage& image) {
    return std::to_string(image.content.devices.size()) + " devices, " +
           std::to_string(image.content.channels.size()) + " channels, " +
           std::to_string(image.alarmEvents.size()) + " alarm events, " +
           std::to_string(image.writeRecords.size()) + " records of writes";
}

bool isEmpty(tessapi::ITessAccessor& store) {
    const tessapi::StoreSnapshot present = store.browser().snapshot();
    return present.devices.size() == 1 && present.channels.empty();
}

} // namespace

ExitCode runExport(Session& session, const std::string& file) {
    const tessapi::StoreImage image = session.store.browser().image();
    if (file.empty()) {
        writeImage(session.out, image);
        return ExitCode::Done;
    }
    NewFile target{file};
    writeImage(target.out(), image);
    target.moveIntoPlace();
    session.err << "tess: " << file << ": " << countsText(image) << "\n";
    return ExitCode::Done;
}

ExitCode runImport(Surroundings& surroundings, const std::string& file) {
    const tessapi::StoreImage image = readImage(file, contentOf(file, surroundings.in));
    const auto store = openStore(surroundings.store, true);
    const std::string url = store->browser().url();
    if (!isEmpty(*store)) {
        throw Failure{ExitCode::Failed,
                      "the store " + url +
                          " has something in it; nothing was imported. Name a new one: tess "
                          "--store sqlite:PATH import " +
                          file};
    }
    store->browser().fill(image);
    if (surroundings.json) {
        printDocument(surroundings.out, countsOf(url, image));
    } else {
        surroundings.err << "tess: " << url << " has " << countsText(image) << "\n";
    }
    return ExitCode::Done;
}

} // namespace velk::cli
