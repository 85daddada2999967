#include "platform/tessapi/network/FunctionLibrary.h"

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

std::string_view FunctionLibrary::text() {
    return {velkTessFunctionsBegin, static_cast<std::size_t>(velkTessFunctionsEnd - velkTessFunctionsBegin)};
}

void FunctionLibrary::load(RedisConnection& server, const Deadline& deadline) {
    server.call({"FUNCTION", "LOAD", "REPLACE", text()}, deadline);
}

} // namespace tessapi
