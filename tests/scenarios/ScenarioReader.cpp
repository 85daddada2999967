#include "tests/scenarios/ScenarioReader.h"

#include "platform/common/lwjson/JsonError.h"
#include "tests/scenarios/JsonReading.h"
#include "tests/scenarios/StepReader.h"

#include <cctype>
#include <fstream>
#include <sstream>

namespace velk::scenarios {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;

namespace {

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream{file};
    if (!stream) {
        throw ScenarioError{file.string() + ":1:1: cannot be read"};
    }
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

Deserializer parse(const std::string& file, const std::string& text) {
    try {
        return Deserializer{text};
    } catch (const JsonError& error) {
        throw ScenarioError{file + ":" + std::to_string(error.position().line) + ":" +
                            std::to_string(error.position().column) + ": " + error.reason()};
    }
}

/// Each `$NAME` replaced; a text that is nothing but a name becomes the value itself, whatever its kind, if
/// that is JSON of another kind than a text.
std::string substitute(std::string text, const Variables& variables) {
    for (const auto& [name, value] : variables) {
        const std::string whole = "\"$" + name + "\"";
        for (auto at = text.find(whole); at != std::string::npos; at = text.find(whole, at)) {
            text.replace(at, whole.size(), value);
            at += value.size();
        }
        const std::string inner =
            value.size() >= 2 && value.front() == '"' ? value.substr(1, value.size() - 2) : value;
        const std::string part = "$" + name;
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at)) {
            const std::size_t behind = at + part.size();
            if (behind < text.size() && (std::isalnum(static_cast<unsigned char>(text[behind])) != 0)) {
                at = behind;
                continue;
            }
            text.replace(at, part.size(), inner);
            at += inner.size();
        }
    }
    return text;
}

} // namespace

std::vector<Variables> readVariants(const std::filesystem::path& file) {
    const Deserializer json = parse(file.string(), contentOf(file));
    const JsonReading in{file.string()};
    const Node* const variants = json.findMember("variants");
    if (variants == nullptr) {
        return {{}};
    }
    std::vector<Variables> all;
    for (const Node& each : in.list(*variants)) {
        all.push_back(in.jsonByName(each));
    }
    if (all.empty()) {
        in.fail(*variants, "expected at least one variant");
    }
    return all;
}

// A variable may hold another one, hence twice.
Scenario readScenario(const std::filesystem::path& file, const Variables& variables) {
    const Deserializer json =
        parse(file.string(), substitute(substitute(contentOf(file), variables), variables));
    const JsonReading in{file.string()};
    const StepReader steps{in};
    Scenario scenario;
    scenario.file = file.string();
    in.members(json.root(),
               {
                   {"about", [&](const Node& node) { scenario.about = in.text(node); }},
                   {"variants", [](const Node&) {}},
                   {"store",
                    [&](const Node& node) {
                        scenario.store = in.text(node);
                        if (scenario.store != "memory" && scenario.store != "sqlite") {
                            in.fail(node, "expected \"memory\" or \"sqlite\"");
                        }
                    }},
                   {"plugins", [&](const Node& node) { scenario.plugins = in.texts(node); }},
                   {"others", [&](const Node& node) { scenario.others = in.jsonByName(node); }},
                   {"simulator", [&](const Node& node) { scenario.simulator = in.jsonByName(node); }},
                   {"steps", [&](const Node& node) { scenario.steps = steps.read(node); }},
               });
    if (scenario.about.empty()) {
        in.fail(json.root(), "expected \"about\": what the scenario shows");
    }
    if (scenario.steps.empty()) {
        in.fail(json.root(), "expected \"steps\"");
    }
    return scenario;
}

} // namespace velk::scenarios
