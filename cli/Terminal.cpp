#include "cli/Terminal.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/ioctl.h>

namespace velk::cli {

namespace {

constexpr std::size_t NARROWEST = 20;
constexpr std::size_t WIDEST = 1000;
constexpr std::size_t USUAL_WIDTH = 80;

std::string_view variable(const char* name) {
    const char* text = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here changes it
    return text == nullptr ? std::string_view{} : std::string_view{text};
}

} // namespace

std::size_t terminalWidth(int descriptor) {
    winsize size{};
    std::size_t width = 0;
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0) {
        width = size.ws_col;
    }
    if (width == 0) {
        const std::string_view columns = variable("COLUMNS");
        std::from_chars(columns.data(), columns.data() + columns.size(), width);
    }
    return width == 0 ? USUAL_WIDTH : std::clamp(width, NARROWEST, WIDEST);
}

bool speaksUtf8() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        if (std::string text{variable(name)}; !text.empty()) {
            std::transform(text.begin(), text.end(), text.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
            return text.find("utf-8") != std::string::npos || text.find("utf8") != std::string::npos;
        }
    }
    return false;
}

} // namespace velk::cli
