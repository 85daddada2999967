#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace velk::common {

/// A binary heap with the smallest item, by `operator<`, at its top.
///
/// Its items may be changed in place. That never rebuilds the heap: `push` and `pop` then still keep every
/// item, in an order that is as good as the change left it.
template <typename T>
class Heap {
public:
    /// Throws std::length_error "vector::reserve" for more than a vector can hold.
    void reserve(std::size_t count) { items.reserve(count); }

    bool empty() const { return items.empty(); }
    std::size_t size() const { return items.size(); }
    std::size_t capacity() const { return items.capacity(); }

    /// The heap must not be empty.
    const T& top() const { return items.front(); }

    void push(T&& item) {
        items.push_back(std::move(item));
        siftUp(items.size() - 1);
    }

    /// Takes the top off. The heap must not be empty.
    T pop() {
        T taken = std::move(items.front());
        if (items.size() > 1) {
            items.front() = std::move(items.back());
        }
        items.pop_back();
        siftDown(0);
        return taken;
    }

    /// The items in storage order.
    auto begin() { return items.begin(); }
    auto end() { return items.end(); }

private:
    void siftUp(std::size_t place) {
        while (place > 0) {
            const std::size_t parent = (place - 1) / 2;
            if (!(items[place] < items[parent])) {
                return;
            }
            std::swap(items[place], items[parent]);
            place = parent;
        }
    }

    void siftDown(std::size_t place) {
        for (;;) {
            std::size_t child = 2 * place + 1;
            if (child >= items.size()) {
                return;
            }
            if (child + 1 < items.size() && items[child + 1] < items[child]) {
                ++child;
            }
            if (!(items[child] < items[place])) {
                return;
            }
            std::swap(items[place], items[child]);
            place = child;
        }
    }

    std::vector<T> items;
};

} // namespace velk::common
