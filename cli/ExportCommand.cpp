#include "cli/ExportCommand.h"

#include "cli/Communication.h"
#include "cli/Failure.h"
#include "cli/ImageReader.h"
#include "cli/ImageWriter.h"
#include "cli/Json.h"
#include "cli/OpenStore.h"
#include "cli/OutputFile.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/stat.h>
#include <system_error>

namespace velk::cli {

namespace {

[[noreturn]] void failReading(const std::string& file) {
    throw Failure{ExitCode::Failed, "cannot read " + file + ": " + std::generic_category().message(errno)};
}

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
        failReading(file);
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

/// The daemon whose mark is in `image` was at work on the store that was exported, up to its last write, and
/// on this one nobody is.
void forgetDaemon(tessapi::StoreImage& image) {
    std::int64_t newestMs = 0;
    for (const tessapi::ChannelRecord& channel : image.content.channels) {
        newestMs = std::max(newestMs, channel.writtenMs);
    }
    for (tessapi::ChannelRecord& channel : image.content.channels) {
        const std::string* mark = std::get_if<std::string>(&channel.value.variant());
        if (channel.name == Communication::DAEMON_PROCESS && mark != nullptr && !mark->empty()) {
            channel.value = qz::CValue{""};
            channel.writtenMs = newestMs;
            channel.changedMs = newestMs;
        }
    }
}

/// Programs with another catalogue give channels another type when they open the store: told before the
/// values are missed. `filled` has been opened after `image` was there.
void tellLostValues(std::ostream& err, const tessapi::StoreImage& image, tessapi::ITessAccessor& filled) {
    constexpr std::size_t mostNamed = 3;
    std::map<std::uint64_t, qz::datatype> lost;
    for (const tessapi::ChannelRecord& channel : filled.browser().snapshot().channels) {
        if (!channel.initialized) {
            lost.emplace(channel.id, channel.type);
        }
    }
    std::size_t count = 0;
    std::string names;
    for (const tessapi::ChannelRecord& channel : image.content.channels) {
        const auto found = lost.find(channel.id);
        if (channel.initialized && found != lost.end() && ++count <= mostNamed) {
            names += (count == 1 ? "" : ", ") + channel.name + " (" + std::string{to_string(found->second)} +
                     ", not " + std::string{to_string(channel.type)} + ")";
        }
    }
    if (count != 0) {
        err << "tess: " << count
            << " of them lose their value, as the catalogue here has another type: " << names
            << (count > mostNamed ? ", ..." : "") << "\n";
    }
}

} // namespace

ExitCode runExport(Session& session, const std::string& file) {
    const tessapi::StoreImage image = session.store.browser().image();
    if (file.empty() || file == "-") {
        writeImage(session.out, image);
        return ExitCode::Done;
    }
    OutputFile target{file};
    writeImage(target.out(), image);
    target.finish();
    if (session.json) {
        printDocument(session.out, countsOf(session.store.browser().url(), image));
    } else {
        session.err << "tess: " << file << ": " << countsText(image) << "\n";
    }
    return ExitCode::Done;
}

ExitCode runImport(Surroundings& surroundings, const std::string& file) {
    tessapi::StoreImage image = readImage(file, contentOf(file, surroundings.in));
    forgetDaemon(image);
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
    tellLostValues(surroundings.err, image, *openStore(surroundings.store, false));
    return ExitCode::Done;
}

} // namespace velk::cli
