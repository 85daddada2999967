#include "cli/PowerPath.h"

#include "cli/PathLines.h"
#include "cli/ValueText.h"

#include <array>
#include <nlohmann/json.hpp>
#include <utility>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

struct Converter {
    const char* part;
    const char* name;
};

/// In the order in which the power goes through them.
constexpr auto converters = std::to_array<Converter>({
    {"PowerConverters.Rectifier", "Rectifier"},
    {"PowerConverters.DcBus", "DC bus"},
    {"PowerConverters.Inverter", "Inverter"},
    {"PowerConverters.Avr", "Voltage regulator"},
    {"PowerConverters.TransferSwitch", "Transfer switch"},
    {"PowerConverters.AutomaticBypass", "Automatic bypass"},
    {"PowerConverters.MaintenanceBypass", "Maintenance bypass"},
});

/// "Feed 1, Mains": what people called it behind what it is.
std::string nameOf(PartReader& part, const std::string& kind) {
    const std::string number = part.path().substr(part.path().rfind('.') + 1);
    std::string called = part.text("Attribute.FriendlyName");
    if (called.empty()) {
        called = part.text("Attribute.PhysicalName");
    }
    return kind + " " + number + (called.empty() ? "" : ", " + called);
}

void add(PathSection& section, PathLine line) {
    if (!line.facts.empty()) {
        section.lines.push_back(std::move(line));
    }
}

PathSection single(const std::string& title, const std::string& member, PathLine line) {
    PathSection section{title, member, {}};
    add(section, std::move(line));
    return section;
}

PathSection sectionOf(PartReader& device, const PathSection& empty, const std::string& collection,
                      const std::string& kind, PathLine (*lineOf)(PartReader, const std::string&)) {
    PathSection section = empty;
    for (PartReader& item : device.items(collection)) {
        add(section, lineOf(item, nameOf(item, kind)));
    }
    return section;
}

PathSection chain(PartReader& device) {
    PathSection section{"Converters", "converters", {}};
    for (const Converter& converter : converters) {
        add(section, converterLine(device.below(converter.part), converter.name));
    }
    add(section, modulesLine(device));
    return section;
}

} // namespace

std::vector<PathSection> powerPath(const StoreView& view, const Communication& communication) {
    PartReader device{view, communication, ""};
    std::vector<PathSection> sections;
    sections.push_back(sectionOf(device, {"Source", "sources", {}}, "Inputs", "Feed", sourceLine));
    sections.push_back(single("Selection", "selection", selectionLine(device)));
    sections.push_back(chain(device));
    sections.push_back(single("Battery", "battery", batteryLine(device)));
    sections.push_back(sectionOf(device, {"Output", "outputs", {}}, "Outputs", "Output", outputLine));
    sections.push_back(sectionOf(device, {"Branches", "branches", {}}, "Branches", "Branch", branchLine));
    sections.push_back(single("Outlets", "outlets", outletsLine(device)));
    sections.push_back(single("Environment", "environment", environmentLine(device)));
    std::erase_if(sections, [](const PathSection& section) { return section.lines.empty(); });
    return sections;
}

Json jsonOf(const std::vector<PathSection>& sections) {
    Json object = Json::object();
    for (const PathSection& section : sections) {
        Json& lines = object[section.member] = Json::array();
        for (const PathLine& line : section.lines) {
            Json facts = Json::array();
            for (const PathLine::Fact& fact : line.facts) {
                facts.push_back(fact.text);
            }
            Json values = Json::object();
            for (const Point* point : line.points) {
                values[point->path] = jsonOf(point->channel->value);
            }
            lines.push_back({{"name", line.name},
                             {"path", line.path},
                             {"facts", std::move(facts)},
                             {"values", std::move(values)},
                             {"fresh", line.fresh}});
        }
    }
    return object;
}

} // namespace velk::cli
