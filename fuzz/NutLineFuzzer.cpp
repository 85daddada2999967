// A line of the protocol of device servers.

#include "fuzz/Fuzz.h"
#include "plugins/nut/LinkError.h"
#include "plugins/nut/ProtocolLine.h"

#include <vector>

using namespace velk::nut;
using velk::fuzz::demand;

VELK_FUZZER(nut_line) {
    std::vector<std::string> words;
    try {
        words = splitLine(input);
    } catch (const LinkError&) {
        demand(input.find('"') != std::string_view::npos, "refused for a quote that is not there");
    }
    std::string line;
    for (const std::string& word : words) {
        line += quote(word) + " ";
    }
    demand(splitLine(line) == words, "words that are quoted read otherwise");
    const std::vector<std::string> whole{std::string{input}};
    demand(splitLine(quote(input)) == whole, "a quoted text reads otherwise");
    if (isSafeValue(input)) {
        demand(quote(input) == "\"" + std::string{input} + "\"", "a safe value needs an escape");
    }
}
