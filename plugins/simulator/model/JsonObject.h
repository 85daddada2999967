#pragma once

#include "platform/common/lwjson/Deserializer.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <set>
#include <string>

namespace velk::simulator {

/// An object of a device file. Every operation throws `DeviceFileError` that names the place and what was
/// expected there; so does `finish` for a member that nobody asked for.
class JsonObject {
public:
    using Node = common::lwjson::Node;

    /// `what` is how messages call the object: "the battery".
    JsonObject(const Node& node, const std::string& file, const std::string& what);

    bool has(const std::string& member) const { return find(member) != nullptr; }

    /// A number from `least` to `most`; absent: the fallback.
    double number(const std::string& member, double fallback, double least = 0,
                  double most = std::numeric_limits<double>::max()) const;

    /// A number that must be there.
    double required(const std::string& member, double least,
                    double most = std::numeric_limits<double>::max()) const;

    /// A whole number from `least` to `most`; absent: the fallback.
    std::uint32_t count(const std::string& member, std::uint32_t fallback, std::uint32_t least,
                        std::uint32_t most) const;

    /// Absent: the fallback.
    std::string text(const std::string& member, const std::string& fallback) const;

    /// Visits the elements of an array; none when it is absent.
    void each(const std::string& member, const std::function<void(const Node&)>& visit) const;

    /// The member, or null.
    const Node* find(const std::string& member) const;

    void finish() const;
    [[noreturn]] void fail(const Node& place, const std::string& reason) const;
    const Node& node() const { return self; }

private:
    const Node& self;
    const std::string& file;
    std::string what;
    mutable std::set<std::string> asked;
};

} // namespace velk::simulator
