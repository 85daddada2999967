#include "kit/Plugin.h"

#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>

namespace velk::kit {

void Plugin::Close::operator()(void* handle) const {
    dlclose(handle);
}

void Plugin::load(const std::string& file) {
    // With its folder, since a bare name would be searched for on the system's library path.
    const std::string path = std::filesystem::absolute(file).string();
    handle.reset(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!handle) {
        const char* why = dlerror(); // NOLINT(concurrency-mt-unsafe): of this thread
        throw std::runtime_error{why == nullptr ? "no reason" : why};
    }
}

void* Plugin::symbol(const char* name) const {
    return dlsym(handle.get(), name);
}

void Plugin::release() {
    factory.reset();
    protocol.reset();
    library = nullptr;
    handle.reset();
}

} // namespace velk::kit
