#include "platform/tessapi/catalogue/BuiltinCatalogue.h"

// The assembler puts the file into the library as it is: a string literal of that length is beyond what
// compilers must take. VELK_CATALOGUE_FILE comes from the build.
asm(".pushsection .rodata\n"
    ".hidden velkCatalogueBegin\n"
    ".hidden velkCatalogueEnd\n"
    ".global velkCatalogueBegin\n"
    ".global velkCatalogueEnd\n"
    "velkCatalogueBegin:\n"
    ".incbin \"" VELK_CATALOGUE_FILE "\"\n"
    "velkCatalogueEnd:\n"
    ".popsection\n");

extern "C" __attribute__((visibility("hidden"))) const char velkCatalogueBegin[];
extern "C" __attribute__((visibility("hidden"))) const char velkCatalogueEnd[];

namespace tessapi {

std::string_view builtinCatalogueText() {
    return {velkCatalogueBegin, static_cast<std::size_t>(velkCatalogueEnd - velkCatalogueBegin)};
}

} // namespace tessapi
