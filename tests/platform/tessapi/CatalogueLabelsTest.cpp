#include "platform/tessapi/catalogue/Catalogue.h"
#include "powerdistribution/core/Vocabulary.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using namespace velk::powerdistribution;
using qz::CMultistateMap;
using qz::CValue;
using tessapi::Catalogue;
using tessapi::CatalogueEntry;

using Labels = std::vector<std::pair<std::string, std::uint32_t>>;

/// The labels of a datum in their order; fails the test when the datum has no entry or a key is no uint32.
Labels labelsOf(const std::string& text) {
    const CatalogueEntry* entry = Catalogue::builtin().find("PowerDistribution." + text);
    Labels labels;
    if (entry == nullptr) {
        ADD_FAILURE() << text << " has no entry";
        return labels;
    }
    for (const auto& [key, name] : entry->labels.entries()) {
        EXPECT_EQ(key.type(), qz::datatype::uint32) << text;
        labels.emplace_back(name, key.as_uint32());
    }
    return labels;
}

template <typename E>
int agreeingLists() {
    int lists = 0;
    for (std::uint32_t number = 1; number <= 500; ++number) {
        const auto datum = static_cast<E>(number);
        if (const EnumList* list = GetEnumList(datum)) {
            EXPECT_EQ(labelsOf(to_string(datum)), *list) << to_string(datum);
            ++lists;
        }
    }
    return lists;
}

TEST(CatalogueLabelsTest, AgreeWithTheListsOfTheVocabularyInTheirOrder) {
    EXPECT_EQ(agreeingLists<ESpecification>(), 3);
    EXPECT_EQ(agreeingLists<EStatus>(), 4);
    EXPECT_EQ(agreeingLists<ESetting>(), 5);
}

TEST(CatalogueLabelsTest, NameTheOperatingStatusesInUse) {
    EXPECT_EQ(labelsOf("Status.OperatingStatus"), (Labels{{"unknown", 0},
                                                          {"not present", 1},
                                                          {"starting", 3},
                                                          {"stopping", 4},
                                                          {"stopped", 5},
                                                          {"supplied but not supplying", 7},
                                                          {"under test", 14},
                                                          {"in service", 16}}));
}

TEST(CatalogueLabelsTest, NameTheStatesOfTheCommunication) {
    EXPECT_EQ(labelsOf("CommunicationStatus.State"), (Labels{{"connected", 2}, {"lost", 3}, {"unknown", 4}}));
}

TEST(CatalogueLabelsTest, NameTheStatesOfTheHealth) {
    EXPECT_EQ(labelsOf("Status.HealthState"), (Labels{{"good", 5}, {"warning", 10}, {"critical", 25}}));
}

TEST(CatalogueLabelsTest, NameWhatIsKnownOfTheSuppliersPowerAndOfTheTest) {
    EXPECT_EQ(labelsOf("Status.SupplierPowerQuality"),
              (Labels{{"not supplying", 2}, {"supplying", 3}, {"supplying", 4}, {"supplying", 5}}));
    EXPECT_EQ(labelsOf("Status.TestStatus"), (Labels{{"in progress", 1}}));
}

TEST(CatalogueLabelsTest, FreeNumbersHaveNone) {
    EXPECT_EQ(labelsOf("Status.State"), Labels{});
    EXPECT_EQ(labelsOf("Status.Source"), Labels{});
    EXPECT_EQ(labelsOf("Status.BmsFailure"), Labels{});
    EXPECT_EQ(labelsOf("Setting.RedundancyLevel"), Labels{});
}

TEST(CatalogueLabelsTest, NothingElseHasAny) {
    std::set<std::string> labelled;
    for (const auto& [name, entry] : Catalogue::builtin().entries()) {
        if (!entry.labels.empty()) {
            labelled.insert(name);
        }
    }
    EXPECT_EQ(labelled.size(), 12u + 5u);
}

} // namespace
