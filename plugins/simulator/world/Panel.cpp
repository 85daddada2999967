#include "plugins/simulator/world/Panel.h"

#include "plugins/simulator/world/JsonText.h"
#include "plugins/simulator/world/ValueText.h"

#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>

namespace velk::simulator {

namespace {

PointInfo servedPoint(const SimulatedDevice& device, const std::string& path) {
    const auto info = device.point(path);
    if (!info) {
        throw std::invalid_argument{"\"path\" is \"" + path +
                                    "\", which the device does not serve; \"points\" lists what it does"};
    }
    return *info;
}

std::string written(const Scalar& scalar) {
    if (const auto* flag = std::get_if<bool>(&scalar)) {
        return *flag ? "true" : "false";
    }
    if (const auto* number = std::get_if<std::int64_t>(&scalar)) {
        return std::to_string(*number);
    }
    if (const auto* number = std::get_if<double>(&scalar)) {
        return jsonNumber(*number);
    }
    return jsonText(std::get<std::string>(scalar));
}

template <typename T>
Value wholeNumber(const Scalar& scalar) {
    const auto* number = std::get_if<std::int64_t>(&scalar);
    const bool fits = number != nullptr && *number >= std::int64_t{std::numeric_limits<T>::min()} &&
                      *number <= std::int64_t{std::numeric_limits<T>::max()};
    return fits ? Value{static_cast<T>(*number)} : Value{};
}

Value floatingNumber(const Scalar& scalar) {
    if (const auto* whole = std::get_if<std::int64_t>(&scalar)) {
        return static_cast<float>(*whole);
    }
    const auto* number = std::get_if<double>(&scalar);
    return number != nullptr && std::isfinite(static_cast<float>(*number))
               ? Value{static_cast<float>(*number)}
               : Value{};
}

/// Empty when the scalar is nothing for a point of the type.
Value valueOf(const Scalar& scalar, PointType type) {
    switch (type) {
    case PointType::Bool: {
        const auto* flag = std::get_if<bool>(&scalar);
        return flag != nullptr ? Value{*flag} : Value{};
    }
    case PointType::Int32:
        return wholeNumber<std::int32_t>(scalar);
    case PointType::Uint32:
        return wholeNumber<std::uint32_t>(scalar);
    case PointType::Float:
        return floatingNumber(scalar);
    case PointType::Time: {
        const Value seconds = wholeNumber<std::uint32_t>(scalar);
        const auto* number = seconds.getIf<std::uint32_t>();
        return number != nullptr ? Value{conv::UnixTime{*number}} : Value{};
    }
    case PointType::Text: {
        const auto* text = std::get_if<std::string>(&scalar);
        return text != nullptr ? Value{*text} : Value{};
    }
    case PointType::Log:
        break;
    }
    return {};
}

/// What the point takes, for a message.
std::string expectation(const PointInfo& info) {
    std::string text = std::string{to_string(info.type)};
    if (!info.choices.empty()) {
        text += ", one of";
        for (const std::uint32_t choice : info.choices) {
            text += " " + std::to_string(choice);
        }
    } else if (info.min && info.max) {
        text += ", " + jsonNumber(*info.min) + " to " + jsonNumber(*info.max);
    }
    return info.type == PointType::Time ? text + ", in seconds since 1970" : text;
}

std::string pointText(const Value& value, const PointInfo& info) {
    return R"({"value":)" + jsonValue(value) + R"(,"type":")" + std::string{to_string(info.type)} +
           R"(","writable":)" + (info.writable ? "true" : "false") + "}";
}

/// Has the order carried out; it is answered when it shows.
template <typename Work>
std::string order(SimulatedDevice& device, const Work& work) {
    device.with([&](Model& model) {
        work(model);
        SimulatedDevice::show(model);
    });
    return {};
}

} // namespace

std::string Panel::carryOut(const MainsOrder& order) {
    return simulator::order(device, [&](Model& model) { model.setMains(order); });
}

std::string Panel::carryOut(const LoadOrder& order) {
    return simulator::order(device, [&](Model& model) { model.setLoad(order); });
}

std::string Panel::carryOut(const BatteryOrder& order) {
    return simulator::order(device, [&](Model& model) { model.setBattery(order); });
}

std::string Panel::carryOut(const IdentityOrder& order) {
    device.setIdentity(order);
    return simulator::order(device, [](Model& /*model*/) {});
}

std::string Panel::carryOut(const SetCommand& command) {
    const PointInfo info = servedPoint(device, command.path);
    const Value value = valueOf(command.value, info.type);
    if (!value.hasValue()) {
        throw std::invalid_argument{"\"value\" is " + written(command.value) + ", expected " +
                                    expectation(info)};
    }
    return order(device, [&](Model& model) {
        if (!model.write(command.path, value, Origin::Panel)) {
            throw std::invalid_argument{"the device does not take " + written(command.value) + " for \"" +
                                        command.path + "\", expected " + expectation(info)};
        }
    });
}

std::string Panel::carryOut(const ActionCommand& command) {
    const PointInfo info = servedPoint(device, command.path);
    if (!info.writable || info.readable) {
        throw std::invalid_argument{"\"path\" is \"" + command.path + "\", which is no action"};
    }
    return order(device, [&](Model& model) {
        if (!model.write(command.path, true, Origin::Panel)) {
            throw std::invalid_argument{"the device refuses the action \"" + command.path + "\""};
        }
    });
}

std::string Panel::carryOut(const GetCommand& command) {
    const PointInfo info = servedPoint(device, command.path);
    return R"(,"value":)" + jsonValue(device.read(command.path)) + R"(,"type":")" +
           std::string{to_string(info.type)} + "\"";
}

std::string Panel::carryOut(const PointsCommand& /*command*/) {
    return device.with([](Model& model) {
        std::string text = R"(,"points":{)";
        bool isFirst = true;
        for (const auto& [path, info] : model.points()) {
            text += (isFirst ? "" : ",") + jsonText(path) + ":" + pointText(model.read(path), info);
            isFirst = false;
        }
        return text + "}";
    });
}

std::string Panel::carryOut(const LogCommand& command) {
    device.with([&](Model& model) {
        if (command.restart) {
            model.restartLog();
        }
        if (command.wrap) {
            model.overwriteLog();
        }
        model.addLogEntries(command.add);
    });
    return device.with([](Model& model) { return R"(,"topId":)" + std::to_string(model.log().topId()); });
}

std::string Panel::carryOut(const CountsCommand& command) {
    device.setCounts(command.counts);
    return order(device, [](Model& /*model*/) {});
}

} // namespace velk::simulator
