#pragma once

#include "powerdistribution/core/EPath.h"
#include "powerdistribution/protocols/IValueWrapper.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velk::kit {

/// What kind of data point a path names, by its last node.
enum class Family {
    Attribute,
    Specification,
    Status,
    Measure,
    Setting,
    Action,
    PrivateAction,
    Communication,
    Private,
};

/// Nothing for a path whose last node is none of the vocabulary's data points.
std::optional<Family> familyOf(const powerdistribution::EPath& path);

/// A collection of the tree, as its device has it.
struct Collection {
    powerdistribution::EPath path;
    bool hasCount{false};               ///< its `Attribute.Count` is served
    std::optional<std::uint32_t> count; ///< what that read; empty when it was no unsigned number
    std::vector<std::uint32_t> empty;   ///< counted items of which nothing is served
    powerdistribution::EPath beyond; ///< a data point of the item behind the last; empty when there is none
};

/// A node that the library passes over, although something below it is served.
struct HiddenNode {
    powerdistribution::EPath node;  ///< whose own path is not served
    powerdistribution::EPath below; ///< a data point that nobody will see
};

/// Asks a plug-in for every path that the library asks for when it builds its tree, and for the item behind
/// the last one of every collection.
class TreeWalk {
public:
    using EPath = powerdistribution::EPath;
    /// Must not throw; null for a path that is not served.
    using Ask = std::function<powerdistribution::protocols::ValueWrapperPtr(const EPath&)>;
    using ReadCount = std::function<std::optional<std::uint32_t>(
        const EPath&, const powerdistribution::protocols::IValueWrapper&)>;

    /// A greater count is one that nobody means; only the first item is looked at then.
    static constexpr std::uint32_t MOST_ITEMS = 1024;

    TreeWalk(Ask askPlugin, ReadCount readPlugin) :
        ask{std::move(askPlugin)}, readCount{std::move(readPlugin)} {}

    void run();

    std::vector<EPath> served; ///< data points that will have a channel or are asked for otherwise
    std::vector<Collection> collections;
    std::vector<HiddenNode> hidden;

private:
    using Item = std::function<bool(const EPath&)>;

    bool note(const EPath& path);
    template <typename E>
    bool members(const EPath& node);
    template <typename E>
    EPath firstOf(const EPath& node) const;
    EPath firstBelow(const EPath& node) const;

    void device();
    bool communication(const EPath& node);
    bool generic(const EPath& node);
    bool circuit(const EPath& node);
    bool collection(const EPath& path, const Item& item);
    bool circuits(const EPath& path);
    void converters();
    void backup();
    /// False for a node that the library passes over.
    bool isThere(const EPath& node);

    const Ask ask;
    const ReadCount readCount;
};

} // namespace velk::kit
