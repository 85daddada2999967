#include "EntryObject.h"

extern "C" IProtocolLibrary* velkFunctionThatNobodyHas();

VELK_TEST_ENTRY IProtocolLibrary* velkProtocolLibrary(const char* /*configurationPath*/) {
    return velkFunctionThatNobodyHas();
}
