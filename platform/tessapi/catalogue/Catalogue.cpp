#include "platform/tessapi/catalogue/Catalogue.h"

#include "platform/common/lwjson/JsonError.h"
#include "platform/tessapi/catalogue/BuiltinCatalogue.h"
#include "platform/tessapi/catalogue/CatalogueReader.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>
#include <vector>

namespace tessapi {

namespace {

namespace fs = std::filesystem;

/// One write, so that lines of several threads do not mix.
void report(const std::string& line) {
    std::cerr << line + "\n";
}

bool isCatalogueFile(const fs::path& file) {
    const std::string name = file.filename().string();
    return file.extension() == ".json" && name.front() != '.';
}

std::vector<fs::path> catalogueFiles(const fs::path& folder,
                                     const std::function<void(const std::string&)>& tell) {
    std::vector<fs::path> files;
    std::error_code error;
    fs::directory_iterator entry{folder, error};
    if (error == std::errc::no_such_file_or_directory) {
        return files;
    }
    for (; !error && entry != fs::directory_iterator{}; entry.increment(error)) {
        if (isCatalogueFile(entry->path())) {
            files.push_back(entry->path());
        }
    }
    if (error) {
        tell(folder.string() + ": " + error.message());
    }
    std::sort(files.begin(), files.end(), [](const fs::path& a, const fs::path& b) {
        return a.filename().native() < b.filename().native();
    });
    return files;
}

std::string contentOf(const fs::path& file) {
    errno = 0;
    std::ifstream stream{file, std::ios::binary};
    if (stream) {
        stream.peek(); // a folder opens but cannot be read
    }
    if (!stream.good() && !stream.eof()) {
        throw std::system_error{errno != 0 ? errno : EIO, std::generic_category()};
    }
    stream.clear();
    return {std::istreambuf_iterator<char>{stream}, {}};
}

} // namespace

const Catalogue& Catalogue::builtin() {
    static const Catalogue catalogue = [] {
        Catalogue made;
        mergeCatalogue(builtinCatalogueText(), made.known);
        return made;
    }();
    return catalogue;
}

void Catalogue::mergeFiles(const std::filesystem::path& storeFile,
                           const std::function<void(const std::string&)>& tell) {
    for (const fs::path& file : catalogueFiles(storeFile.parent_path() / "catalogue.d", tell)) {
        Entries merged{known};
        try {
            mergeCatalogue(contentOf(file), merged);
        } catch (const std::system_error& failure) {
            tell(file.string() + ": " + failure.code().message());
            continue;
        } catch (const velk::common::lwjson::JsonError& failure) {
            const auto [line, column] = failure.position();
            tell(file.string() + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                 failure.reason());
            continue;
        }
        known = std::move(merged);
    }
}

Catalogue Catalogue::forStore(const std::filesystem::path& storeFile) {
    Catalogue catalogue{builtin()};
    catalogue.mergeFiles(storeFile, report);
    return catalogue;
}

std::vector<std::string> Catalogue::faultsFor(const std::filesystem::path& storeFile) {
    std::vector<std::string> faults;
    Catalogue{builtin()}.mergeFiles(storeFile, [&](const std::string& line) { faults.push_back(line); });
    return faults;
}

const CatalogueEntry* Catalogue::find(std::string_view name) const {
    const auto entry = known.find(name);
    return entry == known.end() ? nullptr : &entry->second;
}

} // namespace tessapi
