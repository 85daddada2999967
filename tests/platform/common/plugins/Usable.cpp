#include "EntryObject.h"

#include <cstring>

static EntryObject object{"usable", {}};

VELK_TEST_ENTRY int velkTestSymbolOfAPlugin() {
    return 1;
}

VELK_TEST_ENTRY IProtocolLibrary* velkProtocolLibrary(const char* configurationPath) {
    std::strncpy(object.configurationPath, configurationPath, sizeof object.configurationPath - 1);
    return reinterpret_cast<IProtocolLibrary*>(&object);
}
