#include "platform/tessapi/network/CatalogueMark.h"

#include "platform/tessapi/network/Packer.h"
#include "platform/tessapi/network/SiteCodec.h"

#include <cstdint>
#include <cstdio>

namespace tessapi {

std::string CatalogueMark::of(const Catalogue& catalogue) {
    std::uint64_t hash = 0xcbf29ce484222325U; // FNV-1a
    for (const auto& [name, entry] : catalogue.entries()) {
        Packer line;
        line.text(name).number(static_cast<std::uint32_t>(entry.type)).text(entry.description);
        for (const char byte : line.text(SiteCodec::packStates(entry.labels)).take()) {
            hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
        }
    }
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

} // namespace tessapi
