#pragma once

#include "plugins/simulator/model/PointInfo.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace velk::simulator {

/// A point that the file gives a value, as the parts that go by it see it. Cheap to copy; valid as long as
/// the table.
template <typename T>
class Knob {
public:
    Knob() = default;
    Knob(const Value* source, T otherwise) : held{source}, fallback{otherwise} {}

    /// The present value; the fallback where the device has no such point.
    T get() const {
        const T* value = held == nullptr ? nullptr : held->getIf<T>();
        return value == nullptr ? fallback : *value;
    }
    bool exists() const { return held != nullptr; }

private:
    const Value* held{nullptr};
    T fallback{};
};

/// All points of a device by path: those that hold a value, those that are computed when they are read, and
/// actions. One look-up costs one hash of the path.
class PointTable {
public:
    using Getter = std::function<Value()>;
    using Act = std::function<bool(const Value&)>;

    /// `absent` paths are never served; an "x" in them stands for any index.
    explicit PointTable(const std::vector<std::string>& absent);

    /// A point that holds `value`; `info` says whether it can be written.
    void hold(const std::string& path, Value value, PointInfo info);

    /// A point whose value is asked for at each read; it takes the place of a held one. Throws
    /// std::logic_error for a path whose member the vocabulary lacks.
    void compute(const std::string& path, Getter getter);

    /// A point that can only be written.
    void act(const std::string& path, Act action);

    /// A point of no member's type that is read and written in its own way.
    void exchange(const std::string& path, PointType type, Getter getter, Act action);

    /// The held point of that path, or the fallback where there is none.
    template <typename T>
    Knob<T> knob(const std::string& path, std::type_identity_t<T> fallback) const {
        const auto found = points.find(path);
        return {found == points.end() || found->second.getter ? nullptr : &found->second.held, fallback};
    }

    bool holds(const std::string& path) const;
    Value read(const std::string& path) const;

    /// Carries out an action, or checks `value` against the point's type, limits and states and holds it.
    /// `anyHeld`: also where the point is not writable, as long as it holds its value.
    bool write(const std::string& path, const Value& value, bool anyHeld);

    /// Null when it is not served.
    const PointInfo* find(const std::string& path) const;
    std::map<std::string, PointInfo> all() const;

    /// Serves from now on only the points whose path `isThere` accepts.
    void restrict(const std::function<bool(const std::string&)>& isThere);

private:
    struct Point {
        PointInfo info;
        Value held;
        Getter getter; ///< empty: the point holds its value, or is an action
        Act action;
        bool served{true};
    };

    bool isAbsent(const std::string& path) const;
    const Point* served(const std::string& path) const;

    std::unordered_map<std::string, Point> points;
    std::unordered_set<std::string> missing;
};

} // namespace velk::simulator
