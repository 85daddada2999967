#include "tests/platform/tessapi/faults/CutDisk.h"

#include <algorithm>
#include <fstream>

namespace tessapi::faults {

namespace {

using Kind = FaultDisk::Event::Kind;

constexpr std::size_t SECTOR = 512;

/// What becomes of the unsynced writes of one cut.
enum class Fate { lost, done, first, any };

} // namespace

void CutDisk::apply(std::string& content, const FaultDisk::Event& event) {
    const auto offset = static_cast<std::size_t>(event.offset);
    if (event.kind == Kind::truncate) {
        content.resize(offset);
        return;
    }
    content.resize(std::max(content.size(), offset + event.bytes.size()));
    content.replace(offset, event.bytes.size(), event.bytes);
}

void CutDisk::applyPart(std::string& content, const FaultDisk::Event& event, std::minstd_rand& random) {
    const auto dice = random() % 3;
    if (dice == 0) {
        return;
    }
    if (dice == 1 || event.kind == Kind::truncate) {
        apply(content, event);
        return;
    }
    auto begin = static_cast<std::size_t>(event.offset);
    const auto end = begin + event.bytes.size();
    while (begin < end) {
        const auto next = std::min(end, (begin / SECTOR + 1) * SECTOR);
        if (random() % 2 == 0) {
            auto sector = event;
            sector.offset = static_cast<std::int64_t>(begin);
            sector.bytes = event.bytes.substr(begin - static_cast<std::size_t>(event.offset), next - begin);
            apply(content, sector);
        }
        begin = next;
    }
}

void CutDisk::happen(const FaultDisk::Event& event) {
    if (event.kind == Kind::mark) {
        return;
    }
    auto& file = files[event.file];
    if (event.kind == Kind::remove) {
        file.unsynced.clear();
        file.mayBeGone = file.isThere && !event.durable;
        if (!file.mayBeGone) {
            files.erase(event.file);
        }
    } else if (event.kind == Kind::sync) {
        for (const auto& write : file.unsynced) {
            apply(file.durable, write);
        }
        file.unsynced.clear();
        if (!file.isThere) {
            // The name of a new file comes to the disk with its folder, and with it what was removed before.
            std::erase_if(files, [](const auto& entry) { return entry.second.mayBeGone; });
            files[event.file].isThere = true;
        }
    } else {
        if (file.mayBeGone) {
            file = File{}; // another file of this name
        }
        file.unsynced.push_back(event);
    }
}

void CutDisk::leave(const std::filesystem::path& folder, std::minstd_rand& random) const {
    for (const auto& [name, file] : files) {
        if ((!file.isThere || file.mayBeGone) && random() % 2 == 0) {
            continue;
        }
        auto content = file.durable;
        const auto fate = static_cast<Fate>(random() % 6 < 3 ? random() % 3 : 3);
        const auto kept = file.unsynced.empty() ? 0 : random() % (file.unsynced.size() + 1);
        std::size_t number = 0;
        for (const auto& event : file.unsynced) {
            if (fate == Fate::done || (fate == Fate::first && number < kept)) {
                apply(content, event);
            } else if (fate == Fate::any) {
                applyPart(content, event, random);
            }
            ++number;
        }
        std::ofstream{folder / name, std::ios::binary} << content;
    }
}

} // namespace tessapi::faults
