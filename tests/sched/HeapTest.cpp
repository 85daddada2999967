#include "powerdistribution/sched/Heap.h"

#include "powerdistribution/sched/Task.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using velk::common::Heap;
using Task = velk::common::sched::Task<std::function<void()>>;

std::vector<int> popAll(Heap<int>& heap) {
    std::vector<int> items;
    while (!heap.empty()) {
        items.push_back(heap.pop());
    }
    return items;
}

TEST(HeapTest, ItemsComeOffInAscendingOrder) {
    Heap<int> heap;
    for (int item : {5, 1, 4, 1, 3, 9, 2}) {
        heap.push(std::move(item));
    }
    EXPECT_EQ(heap.size(), 7U);
    EXPECT_EQ(popAll(heap), (std::vector<int>{1, 1, 2, 3, 4, 5, 9}));
}

TEST(HeapTest, ManyItemsComeOffInAscendingOrder) {
    std::mt19937 random{42};
    std::vector<int> items(1000);
    Heap<int> heap;
    for (int& item : items) {
        item = static_cast<int>(random() % 100);
        heap.push(int{item});
    }
    std::sort(items.begin(), items.end());
    EXPECT_EQ(popAll(heap), items);
}

TEST(HeapTest, PushAppendsAndSiftsUp) {
    Heap<int> heap;
    for (int item : {4, 3, 2, 1}) {
        heap.push(std::move(item));
    }
    EXPECT_EQ(std::vector<int>(heap.begin(), heap.end()), (std::vector<int>{1, 2, 3, 4}));
    heap.push(5);
    EXPECT_EQ(*(heap.end() - 1), 5);
}

TEST(HeapTest, TopIsTheSmallestAndStays) {
    Heap<int> heap;
    heap.push(2);
    heap.push(1);
    EXPECT_EQ(heap.top(), 1);
    EXPECT_EQ(heap.size(), 2U);
}

TEST(HeapTest, ItemsMayBeOnlyMovable) {
    Heap<std::unique_ptr<int>> heap;
    heap.push(std::make_unique<int>(7));
    EXPECT_EQ(*heap.pop(), 7);
    EXPECT_TRUE(heap.empty());
}

TEST(HeapTest, ChangeInPlaceLosesNoItem) {
    Heap<int> heap;
    for (int item = 0; item < 10; ++item) {
        heap.push(int{item});
    }
    for (int& item : heap) {
        item = 10 - item;
    }
    std::vector<int> items = popAll(heap);
    std::sort(items.begin(), items.end());
    EXPECT_EQ(items, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(HeapTest, ReservedRoomIsNeverReallocated) {
    Heap<int> heap;
    heap.reserve(100);
    heap.push(0);
    const int* const place = &heap.top();
    for (int round = 0; round < 3; ++round) {
        for (int item = 1; item < 100; ++item) {
            heap.push(int{item});
        }
        for (int item = 1; item < 100; ++item) {
            heap.pop();
        }
    }
    EXPECT_EQ(&heap.top(), place);
    EXPECT_EQ(heap.capacity(), 100U);
}

TEST(HeapTest, MoreThanAVectorCanHoldIsALengthError) {
    Heap<Task> heap;
    try {
        heap.reserve(std::numeric_limits<std::size_t>::max());
        FAIL() << "no exception";
    } catch (const std::length_error& failure) {
        EXPECT_STREQ(failure.what(), "vector::reserve");
    }
}

TEST(TaskTest, RankNowComesBeforeTheBaseRank) {
    const Task soon{.basePriority = 60, .currentPriority = 0};
    const Task later{.basePriority = 0, .currentPriority = 1};
    EXPECT_LT(soon, later);
    EXPECT_FALSE(later < soon);
}

TEST(TaskTest, SmallerBaseRankComesFirstAmongEquals) {
    const Task status{.basePriority = 0, .currentPriority = 0};
    const Task measure{.basePriority = 4, .currentPriority = 0};
    EXPECT_LT(status, measure);
    EXPECT_FALSE(measure < status);
    EXPECT_FALSE(status < status);
}

TEST(TaskTest, IsRecurringAndHasNoResultAtFirst) {
    EXPECT_EQ(Task{}.kind, 1U);
    EXPECT_EQ(Task{}.result, nullptr);
}

} // namespace
