#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

// A protocol plug-in that finds no device and dislikes a configuration with the word "reject".

extern "C" __attribute__((visibility("default"))) void*
velkProtocolLibrary(const char* /*configurationPath*/) {
    return nullptr;
}

extern "C" __attribute__((visibility("default"))) int velkProtocolCheck(const char* configurationPath,
                                                                        char* message, unsigned long size) {
    std::ifstream file{configurationPath};
    const std::string text{std::istreambuf_iterator<char>{file}, {}};
    if (text.find("reject") == std::string::npos) {
        return 0;
    }
    std::snprintf(message, size, "%s:7:9: expected \"host\"", configurationPath);
    return 1;
}
