#pragma once

#include "platform/common/Export.h"
#include "platform/common/UnexpectedIndex.h"
#include "powerdistribution/core/TRange.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace velk::common {

/// The address of a data point: an ordered list of nodes, each an index, a range of indices, any index, or a
/// member of one of the vocabulary enumerations. A plain value.
///
/// Required: `==` is a pattern match (an index equals a range that holds it and any-index equals everything),
/// while
/// `<` orders by content alone. The two disagree on purpose: maps keyed by paths go by `<`, look-ups of
/// patterns by `==`.
template <typename... Enums>
class TPath {
public:
    /// One step of a path. A plain value.
    class Node {
    public:
        /// The order of the alternatives decides the order of nodes.
        using Variant = std::variant<std::uint32_t, TRange<unsigned int>, TAny, Enums...>;

        template <typename T>
        static constexpr bool IS_ALTERNATIVE = std::is_same_v<T, std::uint32_t> ||
                                               std::is_same_v<T, TRange<unsigned int>> ||
                                               std::is_same_v<T, TAny> || (std::is_same_v<T, Enums> || ...);

        /// Implicit, so that paths and rule tables read as lists of their nodes.
        template <typename T, typename = std::enable_if_t<IS_ALTERNATIVE<T>>>
        constexpr Node(T alternative) : held{alternative} {} // NOLINT(google-explicit-constructor)

        /// "%u" of an index, "[first,last]" of a range, "x" of any-index, `to_string` of a vocabulary member.
        std::string tostring() const {
            return std::visit([](const auto& alternative) { return textOf(alternative); }, held);
        }

        template <typename T>
        bool holds() const {
            return std::holds_alternative<T>(held);
        }

        /// The alternative, or null when the node holds another one.
        template <typename T>
        const T* getIf() const {
            return std::get_if<T>(&held);
        }

        /// The alternative; throws `UnexpectedIndex` when the node holds another one.
        template <typename T>
        const T& get() const {
            return checkedGet<T>(held);
        }

        /// Index of the alternative in `Variant`.
        std::size_t index() const { return held.index(); }
        const Variant& variant() const { return held; }

        /// The pattern match of paths, node against node.
        bool matches(const Node& other) const {
            if (holds<TAny>() || other.template holds<TAny>()) {
                return true;
            }
            return isRangeOf(other) || other.isRangeOf(*this) || *this == other;
        }

        /// Strict: same alternative, same content.
        friend bool operator==(const Node& a, const Node& b) { return a.held == b.held; }

        /// By the index of the alternatives, then by content.
        friend bool operator<(const Node& a, const Node& b) { return a.held < b.held; }

    private:
        bool isRangeOf(const Node& element) const {
            const auto* range = getIf<TRange<unsigned int>>();
            const auto* number = element.template getIf<std::uint32_t>();
            return range != nullptr && number != nullptr && range->first <= *number && *number <= range->last;
        }

        static std::string textOf(std::uint32_t number) { return std::to_string(number); }
        static std::string textOf(const TRange<unsigned int>& range) {
            return "[" + std::to_string(range.first) + "," + std::to_string(range.last) + "]";
        }
        static std::string textOf(const TAny&) { return "x"; }
        template <typename E>
        requires std::is_enum_v<E>
        static std::string textOf(E member) { return to_string(member); }

        Variant held;
    };

    /// The empty path.
    static const TPath Null;

    TPath() = default;
    TPath(std::initializer_list<Node> list) : steps{list} {}
    explicit TPath(std::vector<Node> list) : steps{std::move(list)} {}

    const std::vector<Node>& nodes() const { return steps; }
    std::size_t size() const { return steps.size(); }
    bool empty() const { return steps.empty(); }

    /// Throws std::out_of_range "Cannot get last node of an empty path".
    const Node& lastNode() const {
        if (steps.empty()) {
            throw std::out_of_range{"Cannot get last node of an empty path"};
        }
        return steps.back();
    }

    /// All nodes but the last; empty for an empty path.
    TPath parent() const {
        return steps.empty() ? TPath{} : TPath{std::vector<Node>(steps.begin(), steps.end() - 1)};
    }

    /// The nodes of `a`, then those of `b`.
    friend TPath operator+(const TPath& a, const TPath& b) {
        std::vector<Node> joined;
        joined.reserve(a.size() + b.size());
        joined.insert(joined.end(), a.steps.begin(), a.steps.end());
        joined.insert(joined.end(), b.steps.begin(), b.steps.end());
        return TPath{std::move(joined)};
    }
    friend TPath operator+(const TPath& path, const Node& node) {
        std::vector<Node> joined;
        joined.reserve(path.size() + 1);
        joined.insert(joined.end(), path.steps.begin(), path.steps.end());
        joined.push_back(node);
        return TPath{std::move(joined)};
    }

    /// The nodes' texts joined by "."; "Null" for an empty list.
    std::string nodesToString(const std::vector<Node>& list) const {
        static const std::string none{"Null"};
        if (list.empty()) {
            return none;
        }
        std::string text = list.front().tostring();
        for (auto node = list.begin() + 1; node != list.end(); ++node) {
            text += '.';
            text += node->tostring();
        }
        return text;
    }
    std::string nodesToString() const { return nodesToString(steps); }

    /// Pattern match: as many nodes, and each pair matches.
    friend bool operator==(const TPath& a, const TPath& b) {
        return std::equal(a.steps.begin(), a.steps.end(), b.steps.begin(), b.steps.end(),
                          [](const Node& x, const Node& y) { return x.matches(y); });
    }

    /// Lexicographic by content; a prefix comes first.
    friend bool operator<(const TPath& a, const TPath& b) {
        return std::lexicographical_compare(a.steps.begin(), a.steps.end(), b.steps.begin(), b.steps.end());
    }

    /// Prints "path=" and the text of the nodes.
    friend std::ostream& operator<<(std::ostream& stream, const TPath& path) {
        return stream << "path=" << path.nodesToString();
    }

private:
    std::vector<Node> steps;
};

template <typename... Enums>
inline const TPath<Enums...> TPath<Enums...>::Null{};

} // namespace velk::common
