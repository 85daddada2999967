#pragma once

#include "platform/common/Export.h"

#include <list>
#include <memory>
#include <string>

namespace velk::powerdistribution::protocols {
class IProtocolLibrary;
}

namespace velk::common {

/// One loaded plug-in. Its destructor unloads the code, so every object made by the plug-in must be gone by
/// then.
class VELK_EXPORT DynamicLibrary {
public:
    /// The symbol by which a plug-in is entered:
    /// `extern "C" IProtocolLibrary* velkProtocolLibrary(const char* configurationPath)`.
    /// The object stays the plug-in's own; null means that the plug-in does not want to be used.
    static constexpr const char* ENTRY_SYMBOL = "velkProtocolLibrary";

    /// Takes over a handle of `dlopen` and the entry object found through it.
    DynamicLibrary(void* handle, std::string path, powerdistribution::protocols::IProtocolLibrary& library);
    ~DynamicLibrary();
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    /// The plug-in's entry object; valid as long as this object lives.
    powerdistribution::protocols::IProtocolLibrary& protocolLibrary() const { return library; }
    const std::string& path() const { return file; }

private:
    void* handle;
    std::string file;
    powerdistribution::protocols::IProtocolLibrary& library;
};

/// Loads the plug-ins at `path`. A directory means the plug-ins in it; a file with a top-level member
/// "protocolLibraries" (strings: files or directories, relative to the file) means those, in that order; any
/// other file means the folder in which it lies. In a directory: files named `*.so` or `*.so.N`, in byte
/// order of their names, not recursive. A library is bound at once and keeps its symbols to itself.
///
/// One that cannot be loaded is skipped with one line on the standard error that says why; one without the
/// entry symbol is skipped silently. The plug-in's entry gets `path` as it was given here.
VELK_EXPORT std::list<std::unique_ptr<DynamicLibrary>> loadDynamicLibraries(const std::string& path);

} // namespace velk::common
