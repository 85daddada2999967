#include "platform/tessapi/network/FunctionLibrary.h"

#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/network/ServerRefusal.h"

// The assembler puts the files into the library as they are. VELK_LUA_FOLDER comes from the build.
asm(".pushsection .rodata\n"
    ".hidden velkTessFunctionsBegin\n"
    ".hidden velkTessFunctionsEnd\n"
    ".global velkTessFunctionsBegin\n"
    ".global velkTessFunctionsEnd\n"
    "velkTessFunctionsBegin:\n"
    ".incbin \"" VELK_LUA_FOLDER "/layout.lua\"\n"
    ".incbin \"" VELK_LUA_FOLDER "/alarms.lua\"\n"
    ".incbin \"" VELK_LUA_FOLDER "/channels.lua\"\n"
    ".incbin \"" VELK_LUA_FOLDER "/devices.lua\"\n"
    ".incbin \"" VELK_LUA_FOLDER "/site.lua\"\n"
    "velkTessFunctionsEnd:\n"
    ".popsection\n");

extern "C" __attribute__((visibility("hidden"))) const char velkTessFunctionsBegin[];
extern "C" __attribute__((visibility("hidden"))) const char velkTessFunctionsEnd[];

namespace tessapi {

namespace {

/// 0 when the server has none.
std::int64_t versionOn(RedisConnection& server, const Deadline& deadline) {
    try {
        return server.call({"FCALL_RO", "tess_version", "0"}, deadline).view().integer();
    } catch (const ServerRefusal& refusal) {
        if (!refusal.isWithoutFunctions()) {
            throw;
        }
        return 0;
    }
}

} // namespace

std::string_view FunctionLibrary::text() {
    return {velkTessFunctionsBegin, static_cast<std::size_t>(velkTessFunctionsEnd - velkTessFunctionsBegin)};
}

void FunctionLibrary::load(RedisConnection& server, const std::string& store, const Deadline& deadline) {
    const auto found = versionOn(server, deadline);
    if (found > VERSION) {
        throwStoreFault(store, StoreFault::wrongVersion,
                        "the functions on the server have version " + std::to_string(found) + ", expected " +
                            std::to_string(VERSION));
    }
    server.call({"FUNCTION", "LOAD", "REPLACE", text()}, deadline);
}

} // namespace tessapi
