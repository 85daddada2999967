#pragma once

#include "plugins/simulator/model/MemberTypes.h"
#include "plugins/simulator/model/PointTable.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace velk::simulator {

inline Value toValue(bool value) {
    return Value{value};
}
inline Value toValue(double value) {
    return Value{static_cast<float>(value)};
}
inline Value toValue(std::uint32_t value) {
    return Value{value};
}
inline Value toValue(std::int32_t value) {
    return Value{value};
}
inline Value toValue(conv::UnixTime value) {
    return Value{value};
}
inline Value toValue(std::string value) {
    return Value{std::move(value)};
}
template <typename T>
Value toValue(const std::optional<T>& value) {
    return value ? toValue(*value) : Value{};
}

/// The points of one node of the tree, as a part of the device gives them to the table.
class NodePoints {
public:
    NodePoints(PointTable& table, std::string node) : table{table}, path{std::move(node)} {}

    NodePoints below(std::string_view name) const { return {table, joinPath(path, name)}; }
    NodePoints item(std::uint32_t number) const { return below(std::to_string(number)); }

    /// A member that is computed when it is read. `source` gives a bool, double, number, text, time, or an
    /// optional one; whatever it refers to lives as long as the table.
    template <typename Source>
    void show(std::string_view member, Source source) const {
        table.compute(joinPath(path, member), [source] { return toValue(source()); });
    }

    /// An action that takes `true`.
    template <typename Effect>
    void onTrue(std::string_view member, Effect effect) const {
        table.act(joinPath(path, member), [effect](const Value& value) {
            const auto* flag = value.getIf<bool>();
            return (flag != nullptr ? *flag : !value.hasValue()) && effect();
        });
    }

    /// An action that takes a delay in seconds, 0 or more; `true` and an empty value stand for `ownDelay()`.
    template <typename OwnDelay, typename Effect>
    void onDelay(std::string_view member, OwnDelay ownDelay, Effect effect) const {
        table.act(joinPath(path, member), [ownDelay, effect](const Value& value) {
            const auto* flag = value.getIf<bool>();
            const auto* delay = value.getIf<std::int32_t>();
            if (delay == nullptr && value.hasValue() && (flag == nullptr || !*flag)) {
                return false;
            }
            return (delay == nullptr || *delay >= 0) && effect(delay == nullptr ? ownDelay() : *delay);
        });
    }

    /// A point that the file may give a value.
    template <typename T>
    Knob<T> knob(std::string_view member, std::type_identity_t<T> fallback) const {
        return table.knob<T>(joinPath(path, member), fallback);
    }

private:
    PointTable& table;
    std::string path;
};

/// To the resolution of a device's display, so that a value comes to rest.
double rounded(double value, double resolution);

} // namespace velk::simulator
