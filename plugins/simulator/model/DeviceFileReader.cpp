#include "platform/common/lwjson/JsonError.h"
#include "plugins/simulator/model/DeviceDescription.h"
#include "plugins/simulator/model/DeviceFileError.h"
#include "plugins/simulator/model/JsonObject.h"
#include "plugins/simulator/model/PointReader.h"
#include "powerdistribution/core/EPowerConverter.h"

#include <fstream>
#include <sstream>

namespace velk::simulator {

namespace {

using common::lwjson::Node;

constexpr double MOST_WATTS = 10e6;
constexpr std::uint32_t MOST_ITEMS = 128; ///< of a collection: what the library computes statuses for

DeviceKind kindOf(const JsonObject& device) {
    const std::string kind = device.text("kind", "");
    if (kind == "online-ups") {
        return DeviceKind::OnlineUps;
    }
    if (kind == "line-interactive-ups") {
        return DeviceKind::LineInteractiveUps;
    }
    if (kind == "ats") {
        return DeviceKind::Ats;
    }
    if (kind == "pdu") {
        return DeviceKind::Pdu;
    }
    device.fail(device.has("kind") ? *device.find("kind") : device.node(),
                R"(expected "online-ups", "line-interactive-ups", "ats" or "pdu" for "kind")");
}

Rating ratingOf(const JsonObject& object, std::uint32_t phases) {
    Rating rating;
    rating.voltage = object.number("voltage", rating.voltage, 1, 1000);
    rating.current = object.required("current", 0.1, 10000);
    rating.apparentPower =
        object.number("apparentPower", rating.voltage * rating.current * phases, 1, MOST_WATTS);
    rating.activePower = object.number("activePower", rating.apparentPower, 1, MOST_WATTS);
    return rating;
}

std::uint32_t phasesOf(const JsonObject& object) {
    const std::uint32_t phases = object.count("phases", 1, 1, 3);
    if (phases == 2) {
        object.fail(*object.find("phases"), "expected 1 or 3 for \"phases\"");
    }
    return phases;
}

double powerFactorOf(const JsonObject& object) {
    return object.number("powerFactor", 1, 0.1, 1);
}

class DeviceFileReader {
public:
    explicit DeviceFileReader(const std::filesystem::path& path) { description.file = path.string(); }

    DeviceDescription read(const JsonObject& device) {
        description.kind = kindOf(device);
        readAlarmFile(device);
        description.hasOwnStart = device.has("start");
        description.start =
            conv::UnixTime{device.count("start", description.start.toIntegralType(), 0, 4102444800U)};
        description.ambient = device.number("ambient", description.ambient, -40, 80);
        description.ripple = device.number("ripple", description.ripple, 0, 10);
        description.returnSeconds = device.number("returnSeconds", description.returnSeconds, 0, 3600);
        device.each("inputs", [this](const Node& node) { readInput(node); });
        device.each("outputs", [this](const Node& node) { readOutput(node); });
        device.each("branches", [this](const Node& node) { readBranch(node); });
        device.each("outlets", [this](const Node& node) { readOutlets(node); });
        device.each("converters", [this, &device](const Node& node) { readConverter(device, node); });
        readBattery(device);
        readModules(device);
        readLosses(device);
        readLog(device);
        checkStructure(device);
        readPoints(device);
        device.finish();
        return std::move(description);
    }

private:
    void readAlarmFile(const JsonObject& device) {
        const std::string name = device.text("alarmFile", "");
        if (!name.empty()) {
            description.alarmFile = (std::filesystem::path{description.file}.parent_path() / name).string();
        }
    }

    void readInput(const Node& node) {
        const JsonObject object{node, description.file, "the input"};
        InputDescription input;
        input.phases = phasesOf(object);
        input.frequency = object.number("frequency", input.frequency, 10, 400);
        input.rating = ratingOf(object, input.phases);
        object.finish();
        description.inputs.push_back(input);
    }

    void readOutput(const Node& node) {
        const JsonObject object{node, description.file, "the output"};
        OutputDescription output;
        output.phases = phasesOf(object);
        output.rating = ratingOf(object, output.phases);
        output.watts = object.number("watts", 0, 0, MOST_WATTS);
        output.powerFactor = powerFactorOf(object);
        object.finish();
        description.outputs.push_back(output);
    }

    void readBranch(const Node& node) {
        const JsonObject object{node, description.file, "the branch"};
        BranchDescription branch;
        branch.phase = object.count("phase", 1, 1, 3);
        branch.rating = ratingOf(object, 1);
        object.finish();
        description.branches.push_back(branch);
    }

    /// One entry stands for `count` outlets that are alike.
    void readOutlets(const Node& node) {
        const JsonObject object{node, description.file, "the outlets"};
        OutletDescription outlet;
        outlet.branch = object.count("branch", 0, 1, static_cast<std::uint32_t>(description.branches.size()));
        outlet.phase = outlet.branch != 0 ? description.branches[outlet.branch - 1].phase
                                          : object.count("phase", 1, 1, 3);
        outlet.rating = ratingOf(object, 1);
        outlet.powerFactor = powerFactorOf(object);
        const auto watts = wattsOf(object);
        const std::uint32_t count =
            object.count("count", static_cast<std::uint32_t>(watts.size()), 1, MOST_ITEMS);
        object.finish();
        for (std::uint32_t index = 0; index < count; ++index) {
            outlet.watts = watts[index % watts.size()];
            description.outlets.push_back(outlet);
        }
    }

    /// What the outlets draw, from the first on and then again; at least one number.
    std::vector<double> wattsOf(const JsonObject& object) const {
        std::vector<double> watts;
        object.each("watts", [&](const Node& node) {
            const bool isNumber = node.getValueType() == common::lwjson::ValueType::Integer ||
                                  node.getValueType() == common::lwjson::ValueType::Float;
            if (!isNumber || node.asDouble() < 0 || node.asDouble() > MOST_WATTS) {
                object.fail(node, "expected a number, 0 or more, for each of \"watts\"");
            }
            watts.push_back(node.asDouble());
        });
        return watts.empty() ? std::vector<double>{0} : watts;
    }

    void readConverter(const JsonObject& device, const Node& node) {
        using powerdistribution::EPowerConverter;
        const std::string& name = node.text();
        for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(EPowerConverter::DcBus);
             ++number) {
            if (to_string(static_cast<EPowerConverter>(number)) == name) {
                description.converters.push_back(name);
                return;
            }
        }
        device.fail(node,
                    "expected the kind of a converter, such as \"Rectifier\", and not \"" + name + "\"");
    }

    void readBattery(const JsonObject& device) {
        const Node* node = device.find("battery");
        if (node == nullptr) {
            return;
        }
        const JsonObject object{*node, description.file, "the battery"};
        BatteryDescription battery;
        battery.capacityWh = object.required("capacityWh", 1, MOST_WATTS);
        battery.voltage = object.required("voltage", 1, 1000);
        battery.cells = object.count("cells", battery.cells, 1, 10000);
        battery.charge = object.number("charge", battery.charge, 0, 100);
        battery.health = object.number("health", battery.health, 1, 100);
        battery.chargePower = object.required("chargePower", 0, MOST_WATTS);
        battery.temperature = object.number("temperature", description.ambient, -40, 80);
        battery.chargers = object.count("chargers", 1, 1, MOST_ITEMS);
        battery.modules = object.count("modules", 1, 1, MOST_ITEMS);
        battery.testSeconds = object.number("testSeconds", battery.testSeconds, 0, 24 * 3600);
        object.finish();
        description.battery = battery;
    }

    void readModules(const JsonObject& device) {
        if (const Node* node = device.find("modules"); node != nullptr) {
            const JsonObject object{*node, description.file, "the power modules"};
            description.modules = ModuleDescription{object.count("count", 1, 1, MOST_ITEMS),
                                                    object.required("apparentPower", 1, MOST_WATTS)};
            object.finish();
        }
    }

    void readLosses(const JsonObject& device) {
        if (const Node* node = device.find("losses"); node != nullptr) {
            const JsonObject object{*node, description.file, "the losses"};
            description.losses = {object.number("standby", 0, 0, MOST_WATTS),
                                  object.number("linear", 0, 0, 1), object.number("square", 0, 0, 1),
                                  object.number("bypass", 0, 0, 1)};
            object.finish();
        }
    }

    void readLog(const JsonObject& device) {
        if (const Node* node = device.find("log"); node != nullptr) {
            const JsonObject object{*node, description.file, "the log"};
            description.log.capacity = object.count("capacity", 200, 1, 100000);
            description.log.chunk = object.count("chunk", 16, 1, 10000);
            object.finish();
        }
    }

    void checkStructure(const JsonObject& device) const {
        const bool isUps =
            description.kind == DeviceKind::OnlineUps || description.kind == DeviceKind::LineInteractiveUps;
        if (description.inputs.empty()) {
            device.fail(device.node(), "expected at least one element of \"inputs\"");
        }
        if (description.outputs.empty() && description.kind != DeviceKind::Pdu) {
            device.fail(device.node(), "expected at least one element of \"outputs\"");
        }
        if (description.kind == DeviceKind::Ats && description.inputs.size() != 2) {
            device.fail(device.node(), "expected two elements of \"inputs\" for an ATS");
        }
        if (isUps && !description.battery) {
            device.fail(device.node(), "expected a \"battery\" for a UPS");
        }
        if (!isUps && description.battery) {
            device.fail(*device.find("battery"), "expected no battery but for a UPS");
        }
        checkPhases(device);
    }

    /// Nothing hangs on a phase that does not come in or does not go out.
    void checkPhases(const JsonObject& device) const {
        const std::uint32_t incoming = description.inputs.front().phases;
        const std::uint32_t outgoing =
            description.outputs.empty() ? incoming : description.outputs.front().phases;
        const auto check = [&](bool fits, const char* where, const std::string& expectation) {
            if (!fits) {
                device.fail(*device.find(where), "expected " + expectation);
            }
        };
        for (const auto& input : description.inputs) {
            check(input.phases == incoming, "inputs", "as many phases of every input");
        }
        for (const auto& output : description.outputs) {
            check(output.phases <= incoming, "outputs", "no more phases of an output than of the inputs");
        }
        for (const auto& branch : description.branches) {
            check(branch.phase <= incoming, "branches", "the phase of a branch among those of the inputs");
        }
        for (const auto& outlet : description.outlets) {
            check(outlet.branch != 0 || outlet.phase <= outgoing, "outlets",
                  "the phase of an outlet among those that feed it");
        }
        check(description.kind != DeviceKind::LineInteractiveUps || incoming == 1, "inputs",
              "one phase for a line-interactive UPS");
        check(description.converters.empty() || !description.outputs.empty(), "converters",
              "no converters without outputs");
    }

    void readPoints(const JsonObject& device) {
        PointReader reader{description, description.file};
        if (const Node* node = device.find("points"); node != nullptr) {
            const JsonObject points{*node, description.file, "the points"};
            for (const Node& point : node->members()) {
                reader.read(point);
            }
        }
        device.each("absent", [&](const Node& node) { reader.readAbsent(node); });
    }

    DeviceDescription description;
};

} // namespace

DeviceDescription readDeviceFile(const std::filesystem::path& path) {
    std::ifstream stream{path};
    if (!stream) {
        throw DeviceFileError{path.string(), {}, "cannot be read; expected a device file"};
    }
    std::ostringstream text;
    text << stream.rdbuf();
    try {
        const common::lwjson::Deserializer document{text.str()};
        const std::string file = path.string();
        return DeviceFileReader{path}.read(JsonObject{document.root(), file, "the device"});
    } catch (const common::lwjson::JsonError& failure) {
        throw DeviceFileError{path.string(), failure.position(), failure.reason()};
    }
}

} // namespace velk::simulator
