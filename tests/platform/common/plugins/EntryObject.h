#pragma once

namespace velk::powerdistribution::protocols {
class IProtocolLibrary;
}

/// What stands behind the entry object of the plug-ins of these tests; the loader only passes its address on.
struct EntryObject {
    const char* kind;
    char configurationPath[4096];
};

#define VELK_TEST_ENTRY extern "C" __attribute__((visibility("default")))
using velk::powerdistribution::protocols::IProtocolLibrary;
