#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

namespace velk::powerdistribution::connectors {

/// A table of fixed size whose entries are made when they are first asked for. An entry keeps its place in
/// memory as long as the table lives, so that it can be used without a lock of the table.
///
/// Threads: any.
template <typename T>
class LazyTable {
public:
    explicit LazyTable(std::size_t size) : places(size) {}
    ~LazyTable() {
        for (std::atomic<T*>& place : places) {
            const std::unique_ptr<T> owner{place.load()};
        }
    }
    LazyTable(const LazyTable&) = delete;
    LazyTable& operator=(const LazyTable&) = delete;

    std::size_t size() const { return places.size(); }

    /// Throws std::out_of_range beyond the table.
    T& at(std::size_t index) {
        std::atomic<T*>& place = places.at(index);
        T* present = place.load();
        if (present == nullptr) {
            auto made = std::make_unique<T>();
            // Another thread may have been faster; then `present` is what that one has made.
            if (place.compare_exchange_strong(present, made.get())) {
                present = made.release();
            }
        }
        return *present;
    }

    /// The entries that were asked for, in the order of the table.
    std::vector<T*> used() const {
        std::vector<T*> entries;
        for (const std::atomic<T*>& place : places) {
            if (T* const entry = place.load(); entry != nullptr) {
                entries.push_back(entry);
            }
        }
        return entries;
    }

private:
    std::vector<std::atomic<T*>> places;
};

} // namespace velk::powerdistribution::connectors
