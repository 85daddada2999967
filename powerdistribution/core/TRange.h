#pragma once

namespace velk::common {

/// A closed range of elements of a collection.
template <typename T>
struct TRange {
    T first{};
    T last{};

    /// Same ends.
    friend bool operator==(const TRange&, const TRange&) = default;

    /// Required: ranges order by their width, not by their place, so ranges of equal width are equivalent.
    friend bool operator<(const TRange& a, const TRange& b) { return a.last - a.first < b.last - b.first; }
};

/// Every element of a collection. Carries no data: always equal, never less.
struct TAny {
    friend bool operator==(const TAny&, const TAny&) = default;
    friend bool operator<(const TAny&, const TAny&) { return false; }
};

} // namespace velk::common
