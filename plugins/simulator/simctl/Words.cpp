#include "plugins/simulator/simctl/Words.h"

#include "platform/common/lwjson/Deserializer.h"
#include "platform/common/lwjson/JsonError.h"
#include "plugins/simulator/world/JsonText.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <string_view>

namespace velk::simulator::simctl {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::ValueType;

namespace {

/// The members that a verb's words without "=" are for, in their order.
const std::map<std::string, std::vector<std::string>>& positions() {
    static const std::map<std::string, std::vector<std::string>> table{
        {"get", {"path"}},     {"set", {"path", "value"}}, {"action", {"path"}}, {"advance", {"seconds"}},
        {"speed", {"factor"}}, {"play", {"scenario"}},     {"say", {"text"}},    {"fault", {"kind"}},
        {"clear", {"kind"}},   {"mains", {"state"}},
    };
    return table;
}

/// Members that are texts, also when they look like a number: firmware "2.10" is no 2.1.
bool isText(std::string_view member) {
    constexpr std::array<std::string_view, 13> texts{
        "path",  "what",  "text",         "scenario",        "kind", "operation", "kindOfException",
        "state", "model", "serialNumber", "firmwareVersion", "uuid", "do"};
    return std::find(texts.begin(), texts.end(), member) != texts.end();
}

/// Whether the text is a JSON number, literal or string as it stands.
bool isJson(const std::string& text) {
    try {
        const ValueType type = Deserializer{text}.root().getValueType();
        return type != ValueType::Object && type != ValueType::Array;
    } catch (const velk::common::lwjson::JsonError&) {
        return false;
    }
}

std::string valueOf(const std::string& member, const std::string& text) {
    if (member == "scenario") {
        // A file as the person sees it; the simulator may run in another folder.
        std::error_code ignored;
        const bool isHere = std::filesystem::is_regular_file(text, ignored);
        return jsonText(isHere ? std::filesystem::absolute(text).string() : text);
    }
    return !isText(member) && isJson(text) ? text : jsonText(text);
}

} // namespace

std::string commandOf(const std::vector<std::string>& words) {
    if (words.empty()) {
        throw UsageError{"a command is missing"};
    }
    const std::string& verb = words.front();
    const auto entry = positions().find(verb);
    const std::vector<std::string> names =
        entry == positions().end() ? std::vector<std::string>{} : entry->second;
    std::string json = R"({"do":)" + jsonText(verb);
    std::size_t position = 0;
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        const bool isTextWithBlanks = position < names.size() && names[position] == "text";
        const std::size_t sign = isTextWithBlanks ? std::string::npos : word->find('=');
        std::string member;
        if (sign == std::string::npos && position < names.size()) {
            member = names[position++];
        } else if (sign == std::string::npos || sign == 0) {
            throw UsageError{"\"" + *word + "\" is no name=value"};
        } else {
            member = word->substr(0, sign);
        }
        json += "," + jsonText(member) + ":" +
                valueOf(member, sign == std::string::npos ? *word : word->substr(sign + 1));
    }
    return json + "}";
}

} // namespace velk::simulator::simctl
