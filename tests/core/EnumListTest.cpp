#include "powerdistribution/core/EnumList.h"

#include "powerdistribution/core/ValueEnums.h"

#include <gtest/gtest.h>

#include <thread>

namespace velk::powerdistribution {
namespace {

using States = EnumList;

/// The members 'first' to 'last' of E with their own texts.
template <typename E>
States statesOf(std::uint32_t first, std::uint32_t last) {
    States states;
    for (std::uint32_t number = first; number <= last; ++number) {
        states.emplace_back(to_string(static_cast<E>(number)), number);
    }
    return states;
}

TEST(EnumListTest, MultiStateSpecificationsListTheirStatesByNumber) {
    EXPECT_EQ(*GetEnumList(ESpecification::Topology), statesOf<Topology>(1, 3));
    EXPECT_EQ(*GetEnumList(ESpecification::Type), statesOf<Type>(1, 4));
}

TEST(EnumListTest, HighVoltageComesBeforeLowVoltage) {
    EXPECT_EQ(*GetEnumList(ESpecification::VoltageRange), (States{{"high voltage", 2}, {"low voltage", 1}}));
}

TEST(EnumListTest, MultiStateStatusesListTheirStatesByNumber) {
    EXPECT_EQ(*GetEnumList(EStatus::ChargerStatus), statesOf<ChargerStatus>(0, 4));
    EXPECT_EQ(*GetEnumList(EStatus::LastTestResult), statesOf<TestResult>(1, 3));
    EXPECT_EQ(*GetEnumList(EStatus::Mode), statesOf<Mode>(1, 16));
    EXPECT_EQ(*GetEnumList(EStatus::StoragePresent), statesOf<StoragePresent>(1, 3));
}

TEST(EnumListTest, MultiStateSettingsListTheirStatesByNumber) {
    EXPECT_EQ(*GetEnumList(ESetting::AudibleAlarmControl), statesOf<AudibleAlarmControl>(1, 3));
    EXPECT_EQ(*GetEnumList(ESetting::PreferredSource), statesOf<PreferredSource>(1, 2));
    EXPECT_EQ(*GetEnumList(ESetting::SensitivityMode), statesOf<SensitivityMode>(1, 3));
    EXPECT_EQ(*GetEnumList(ESetting::UnsynchronousTransferBreakTime),
              statesOf<UnsynchronousTransferBreakTime>(1, 3));
    EXPECT_EQ(*GetEnumList(ESetting::UnsynchronousTransferPolicy),
              statesOf<UnsynchronousTransferPolicy>(1, 3));
}

template <typename Datum>
std::size_t countLists(std::uint32_t last) {
    std::size_t lists = 0;
    for (std::uint32_t number = 0; number <= last; ++number) {
        lists += GetEnumList(static_cast<Datum>(number)) != nullptr ? 1 : 0;
    }
    return lists;
}

TEST(EnumListTest, DatumThatIsNotMultiStateGivesNull) {
    EXPECT_EQ(GetEnumList(EStatus::OperatingStatus), nullptr);
    EXPECT_EQ(GetEnumList(ESetting::RedundancyLevel), nullptr);
    EXPECT_EQ(GetEnumList(ESpecification::Chemistry), nullptr);
    EXPECT_EQ(countLists<ESpecification>(51), 3U);
    EXPECT_EQ(countLists<EStatus>(103), 4U);
    EXPECT_EQ(countLists<ESetting>(46), 5U);
    EXPECT_EQ(countLists<EMeasurement>(38), 0U);
    EXPECT_EQ(countLists<EAction>(9), 0U);
}

enum class Probe : std::uint32_t { One = 1, Two = 2 };

TEST(EnumListTest, FirstCallFixesTheListOfAnEnumeration) {
    using Row = EnumToValue<Probe, std::string_view>;
    const auto rows = std::to_array<Row>({{"two", Probe::Two}, {"one", Probe::One}});
    const auto others = std::to_array<Row>({{"other", Probe::One}});
    const States* first = createEnumList(rows);
    EXPECT_EQ(*first, (States{{"two", 2}, {"one", 1}}));
    EXPECT_EQ(createEnumList(rows), first);
    // A table of another size is another instantiation, so the same size shows the guard.
    const auto same = std::to_array<Row>({{"x", Probe::One}, {"y", Probe::Two}});
    EXPECT_EQ(createEnumList(same), first);
    EXPECT_EQ(createEnumList(others)->size(), 1U);
}

TEST(EnumListTest, ListsMayBeAskedForFromManyThreadsAtOnce) {
    std::vector<const States*> seen(8, nullptr);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&seen, i] { seen[i] = GetEnumList(EStatus::Mode); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (const States* list : seen) {
        EXPECT_EQ(list, GetEnumList(EStatus::Mode));
    }
}

} // namespace
} // namespace velk::powerdistribution
