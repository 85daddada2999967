#include "cli/ImageReader.h"

#include "cli/Failure.h"
#include "cli/ImageWriter.h"
#include "cli/ListElements.h"
#include "cli/ObjectReader.h"
#include "platform/common/lwjson/JsonError.h"
#include "platform/tessapi/StoreImageCheck.h"

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace velk::cli {

namespace {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::Position;
using velk::common::lwjson::ValueType;

std::string bytesOf(const Node& node) {
    const auto digit = [&](char letter) -> unsigned int {
        const auto place = std::string_view{"0123456789abcdef"}.find(letter);
        if (place == std::string_view::npos) {
            throw JsonError{node.position(), "expected bytes in hexadecimal, not " + node.text()};
        }
        return static_cast<unsigned int>(place);
    };
    const std::string& text = node.asString();
    if (text.size() % 2 != 0) {
        throw JsonError{node.position(), "expected two digits a byte, not " + text};
    }
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        bytes += static_cast<char>(digit(text[i]) << 4U | digit(text[i + 1]));
    }
    return bytes;
}

std::string textOf(const Node& node) {
    if (node.getValueType() != ValueType::Object) {
        return node.asString();
    }
    ObjectReader object{node};
    std::string text = bytesOf(object.require("hex"));
    object.finish();
    return text;
}

template <typename Float>
Float floatOf(const Node& node) {
    if (node.getValueType() != ValueType::String) {
        return numberOf<Float>(node);
    }
    if (node.text() == "nan") {
        return std::numeric_limits<Float>::quiet_NaN();
    }
    if (node.text() != "inf" && node.text() != "-inf") {
        throw JsonError{node.position(), "expected a number, \"nan\", \"inf\" or \"-inf\""};
    }
    const Float infinite = std::numeric_limits<Float>::infinity();
    return node.text() == "inf" ? infinite : -infinite;
}

qz::CTimestamp timestampOf(const Node& node) {
    ObjectReader object{node};
    qz::CTimestamp value;
    value.seconds = numberOf<std::int64_t>(object.require("seconds"));
    if (const Node* format = object.find("format")) {
        value.format = textOf(*format);
    }
    object.finish();
    return value;
}

std::optional<qz::datatype> typeNamed(const std::string& name) {
    for (std::uint32_t number = 0; number <= static_cast<std::uint32_t>(qz::datatype::binary); ++number) {
        const auto type = static_cast<qz::datatype>(number);
        if (to_string(type) == name) {
            return type;
        }
    }
    return std::nullopt;
}

qz::CValue contentOf(qz::datatype type, const Node& node) {
    switch (type) {
    case qz::datatype::boolean:
        return qz::CValue{node.asBool()};
    case qz::datatype::int32:
        return qz::CValue{numberOf<std::int32_t>(node)};
    case qz::datatype::int64:
        return qz::CValue{numberOf<std::int64_t>(node)};
    case qz::datatype::uint32:
        return qz::CValue{numberOf<std::uint32_t>(node)};
    case qz::datatype::uint64:
        return qz::CValue{numberOf<std::uint64_t>(node)};
    case qz::datatype::float32:
        return qz::CValue{floatOf<float>(node)};
    case qz::datatype::float64:
        return qz::CValue{floatOf<double>(node)};
    case qz::datatype::timestamp:
        return qz::CValue{timestampOf(node)};
    case qz::datatype::string:
        return qz::CValue{textOf(node)};
    default:
        break;
    }
    const std::string bytes = bytesOf(node);
    return qz::CValue{qz::CValue::Bytes(bytes.begin(), bytes.end())};
}

qz::CValue valueOf(const Node& node) {
    if (node.getValueType() == ValueType::Null) {
        return {};
    }
    const std::vector<Node> members = node.members();
    if (node.getValueType() != ValueType::Object || members.size() != 1) {
        throw JsonError{node.position(), "expected a value as {\"float32\": 1.5}, or null"};
    }
    const auto type = typeNamed(members.front().name());
    if (!type) {
        throw JsonError{members.front().position(), "there is no type \"" + members.front().name() + "\""};
    }
    return contentOf(*type, members.front());
}

std::vector<Node> elementsOf(const Node& node) {
    if (node.getValueType() != ValueType::Array) {
        throw JsonError{node.position(), "\"" + node.name() + "\": expected an array"};
    }
    return node.members();
}

std::uint64_t idOf(const Node& node) {
    return node.getValueType() == ValueType::Null ? ~std::uint64_t{0} : numberOf<std::uint64_t>(node);
}

velk::common::Uuid uuidOf(const Node& node) {
    try {
        return velk::common::Uuid{node.asString()};
    } catch (const std::invalid_argument& failure) {
        throw JsonError{node.position(), failure.what()};
    }
}

qz::CDevice deviceOf(const Node& node) {
    ObjectReader object{node};
    qz::CDevice device;
    device.id = numberOf<std::uint64_t>(object.require("id"));
    device.uuid = uuidOf(object.require("uuid"));
    const Node& parent = object.require("parent");
    device.parentId = parent.getValueType() == ValueType::Null ? 0 : numberOf<std::uint64_t>(parent);
    ObjectReader attributes{object.require("attributes")};
    for (std::size_t number = 0; number < device.attributes.size(); ++number) {
        if (const Node* text = attributes.find(std::to_string(number))) {
            device.attributes[number] = textOf(*text);
        }
    }
    attributes.finish();
    object.finish();
    return device;
}

tessapi::LevelAlarm levelOf(const Node& node) {
    const auto level = static_cast<tessapi::LevelAlarm>(numberOf<std::uint32_t>(node));
    switch (level) {
    case tessapi::LevelAlarm::none:
    case tessapi::LevelAlarm::good:
    case tessapi::LevelAlarm::info:
    case tessapi::LevelAlarm::warning:
    case tessapi::LevelAlarm::critical:
        return level;
    }
    throw JsonError{node.position(), "there is no alarm level " + node.text()};
}

qz::CAlarmTrigger triggerOf(const Node& node) {
    ObjectReader object{node};
    qz::CAlarmTrigger trigger;
    trigger.level = levelOf(object.require("level"));
    trigger.type = numberOf<std::int8_t>(object.require("type"));
    trigger.threshold1 = valueOf(object.require("threshold1"));
    trigger.threshold2 = valueOf(object.require("threshold2"));
    trigger.priority = numberOf<std::int32_t>(object.require("priority"));
    trigger.code = textOf(object.require("code"));
    trigger.extra = valueOf(object.require("extra"));
    trigger.extraWord = numberOf<std::uint32_t>(object.require("extraWord"));
    object.finish();
    return trigger;
}

void addState(const Node& node, qz::CMultistateMap& states) {
    ObjectReader object{node};
    const std::size_t before = states.entries().size();
    states.add(valueOf(object.require("value")), textOf(object.require("name")));
    if (states.entries().size() == before) {
        throw JsonError{node.position(), "the state is there already"};
    }
    object.finish();
}

qz::datatype typeOf(const Node& node) {
    if (const auto type = typeNamed(node.asString())) {
        return *type;
    }
    throw JsonError{node.position(), "there is no type \"" + node.text() + "\""};
}

tessapi::ChannelRecord channelOf(const Node& node) {
    ObjectReader object{node};
    tessapi::ChannelRecord channel;
    channel.id = numberOf<std::uint64_t>(object.require("id"));
    channel.deviceId = numberOf<std::uint64_t>(object.require("device"));
    channel.name = textOf(object.require("name"));
    channel.type = typeOf(object.require("type"));
    channel.value = valueOf(object.require("value"));
    channel.initialized = channel.value.isValid();
    channel.writtenMs = numberOf<std::int64_t>(object.require("written"));
    channel.changedMs = numberOf<std::int64_t>(object.require("changed"));
    for (const Node& state : elementsOf(object.require("states"))) {
        addState(state, channel.states);
    }
    for (const Node& trigger : elementsOf(object.require("triggers"))) {
        channel.alarmConfig.triggers.push_back(triggerOf(trigger));
    }
    object.finish();
    return channel;
}

tessapi::AlarmEvent eventOf(const Node& node) {
    ObjectReader object{node};
    tessapi::AlarmEvent event;
    event.number = numberOf<std::int64_t>(object.require("number"));
    event.timeMs = numberOf<std::int64_t>(object.require("time"));
    event.raised = object.require("raised").asBool();
    event.device = idOf(object.require("device"));
    event.channel = idOf(object.require("channel"));
    event.place = textOf(object.require("place"));
    event.name = textOf(object.require("name"));
    event.code = textOf(object.require("code"));
    event.message = textOf(object.require("message"));
    event.level = levelOf(object.require("level"));
    event.priority = numberOf<std::int32_t>(object.require("priority"));
    event.type = numberOf<std::int8_t>(object.require("type"));
    event.value = valueOf(object.require("value"));
    event.threshold1 = valueOf(object.require("threshold1"));
    event.threshold2 = valueOf(object.require("threshold2"));
    object.finish();
    return event;
}

tessapi::WriteRecord recordOf(const Node& node) {
    ObjectReader object{node};
    tessapi::WriteRecord record;
    record.number = numberOf<std::int64_t>(object.require("number"));
    record.timeMs = numberOf<std::int64_t>(object.require("time"));
    record.program = textOf(object.require("program"));
    record.user = textOf(object.require("user"));
    record.path = textOf(object.require("path"));
    record.asked = textOf(object.require("asked"));
    record.result = textOf(object.require("result"));
    object.finish();
    return record;
}

/// Where something stands in the whole text that stands at `inside` in an element of it.
Position placeIn(const Position& element, const Position& inside) {
    return {element.line + inside.line - 1,
            inside.line == 1 ? element.column + inside.column - 1 : inside.column};
}

/// One image, out of a document without the elements of its lists, and of these.
class ImageReader {
public:
    ImageReader(const Node& document, const ListElements& taken) :
        root{document}, elements{taken}, object{document} {}

    tessapi::StoreImage read() {
        requireFormat();
        tessapi::StoreImage image;
        image.lastDevice = numberOf<std::uint64_t>(object.require("lastDevice"));
        image.lastChannel = numberOf<std::uint64_t>(object.require("lastChannel"));
        const Node& devices = object.require("devices");
        const Node& channels = object.require("channels");
        const Node& events = object.require("alarmEvents");
        const Node& records = object.require("writeRecords");
        object.finish();
        fill(image.content.devices, devices, deviceOf);
        fill(image.content.channels, channels, channelOf);
        fill(image.alarmEvents, events, eventOf);
        fill(image.writeRecords, records, recordOf);
        requireSound(image);
        return image;
    }

private:
    void requireFormat() {
        const Node& format = object.require("format");
        if (format.asString() != ImageFormat::NAME) {
            throw JsonError{format.position(), "expected the format \"" + std::string{ImageFormat::NAME} +
                                                   "\", not \"" + format.text() + "\""};
        }
        const Node& version = object.require("version");
        if (numberOf<std::int64_t>(version) != ImageFormat::VERSION) {
            throw JsonError{version.position(), "expected version " + std::to_string(ImageFormat::VERSION) +
                                                    ", not " + version.text()};
        }
    }

    template <typename Entry>
    void fill(std::vector<Entry>& entries, const Node& list, Entry (*read)(const Node&)) {
        for (const Node& place : elementsOf(list)) {
            try {
                const Deserializer json{elements.at(place.position())};
                entries.push_back(read(json.root()));
            } catch (const JsonError& error) {
                throw JsonError{placeIn(place.position(), error.position()), error.reason()};
            }
        }
    }

    void requireSound(const tessapi::StoreImage& image) {
        const auto fault = findFault(image);
        if (!fault) {
            return;
        }
        const char* list = listOf(fault->part);
        throw JsonError{list == nullptr ? root.position()
                                        : object.require(list).members()[fault->index].position(),
                        fault->text};
    }

    static const char* listOf(tessapi::ImageFault::Part part) {
        switch (part) {
        case tessapi::ImageFault::Part::device:
            return "devices";
        case tessapi::ImageFault::Part::channel:
            return "channels";
        case tessapi::ImageFault::Part::alarmEvent:
            return "alarmEvents";
        case tessapi::ImageFault::Part::writeRecord:
            return "writeRecords";
        default:
            return nullptr;
        }
    }

    const Node& root;
    const ListElements& elements;
    ObjectReader object;
};

} // namespace

tessapi::StoreImage readImage(const std::string& file, std::string_view text) {
    try {
        const ListElements elements{text};
        const Deserializer json{elements.rest()};
        return ImageReader{json.root(), elements}.read();
    } catch (const JsonError& error) {
        const Position place = error.position();
        throw Failure{ExitCode::Failed, file + ":" + std::to_string(place.line) + ":" +
                                            std::to_string(place.column) + ": " + error.reason()};
    }
}

} // namespace velk::cli
