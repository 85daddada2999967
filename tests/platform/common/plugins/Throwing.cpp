#include "EntryObject.h"

#include <stdexcept>

VELK_TEST_ENTRY IProtocolLibrary* velkProtocolLibrary(const char* /*configurationPath*/) {
    throw std::runtime_error{"no device bus"};
}
