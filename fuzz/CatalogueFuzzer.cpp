// A file of the catalogue of channels.

#include "fuzz/Places.h"
#include "platform/common/lwjson/JsonError.h"
#include "platform/tessapi/catalogue/CatalogueReader.h"

using velk::fuzz::demand;

VELK_FUZZER(catalogue) {
    tessapi::Catalogue::Entries entries;
    try {
        tessapi::mergeCatalogue(input, entries);
    } catch (const velk::common::lwjson::JsonError& refusal) {
        velk::fuzz::demandPlace(input, refusal.position());
        return;
    }
    const tessapi::Catalogue::Entries once = entries;
    tessapi::mergeCatalogue(input, entries);
    demand(entries == once, "the same file twice says something else than once");
    for (const auto& [name, entry] : entries) {
        demand(entry.type != qz::datatype::unknown, "an entry without a type");
        demand(entry.unit.find('\n') == std::string::npos, "a unit of several lines");
    }
}
