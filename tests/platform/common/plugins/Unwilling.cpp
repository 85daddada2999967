#include "EntryObject.h"

VELK_TEST_ENTRY IProtocolLibrary* velkProtocolLibrary(const char* /*configurationPath*/) {
    return nullptr;
}
