#include "tests/platform/tessapi/StoreTest.h"

#include <algorithm>
#include <set>

namespace tessapi::contract {
namespace {

class StoreDeviceTest : public StoreTest {
protected:
    bool exists(std::uint64_t device) { return !client().store().uuidOf(device).isNil(); }

    void keepOnly(const std::vector<std::uint64_t>& keep, unsigned int limit = 1000,
                  std::uint64_t device = ROOT) {
        client().store().removeAllSubDevicesExcept(device, keep, limit);
    }
};

VELK_TEST_EVERY_ENGINE(StoreDeviceTest);

TEST_P(StoreDeviceTest, TheRootIsAlwaysThere) {
    const velk::common::Uuid root = client().store().uuidOf(ROOT);
    EXPECT_EQ(ROOT, 1u);
    EXPECT_FALSE(root.isNil());
    EXPECT_EQ(client().store().deviceIdOf(root), ROOT);
    EXPECT_EQ(client().channels().getDevice(ROOT).parentId, 0u);
}

TEST_P(StoreDeviceTest, EveryClientKnowsTheRootByTheSameUuid) {
    EXPECT_EQ(another()->store().uuidOf(ROOT), client().store().uuidOf(ROOT));
}

TEST_P(StoreDeviceTest, ANewDeviceIsFoundByItsUuidAndItsIdentifier) {
    const std::uint64_t device = client().device("a");
    EXPECT_EQ(client().store().deviceIdOf(uuidFor("a")), device);
    EXPECT_EQ(client().store().uuidOf(device), uuidFor("a"));
    const qz::CDevice read = client().channels().getDevice(device);
    EXPECT_EQ(read.id, device);
    EXPECT_EQ(read.uuid, uuidFor("a"));
    EXPECT_EQ(read.parentId, ROOT);
}

TEST_P(StoreDeviceTest, EveryClientSeesADeviceOnceItIsMade) {
    const auto other = another();
    const std::uint64_t device = client().device("a");
    EXPECT_EQ(other->store().deviceIdOf(uuidFor("a")), device);
    EXPECT_EQ(other->device("a"), device);
}

TEST_P(StoreDeviceTest, GivenIdentifiersStartAt1000) {
    std::set<std::uint64_t> given;
    for (int number = 0; number < 50; ++number) {
        const std::uint64_t device = client().device("device " + std::to_string(number));
        EXPECT_GE(device, 1000u);
        EXPECT_NE(device, UNKNOWN_ID);
        given.insert(device);
    }
    EXPECT_EQ(given.size(), 50u);
}

TEST_P(StoreDeviceTest, AnExistingUuidGivesItsIdentifierAndChangesNothing) {
    const std::uint64_t parent = client().device("parent");
    const std::uint64_t device = client().device("a");
    client().channels().setDeviceAttribute(device, DeviceAttribute::model, "kept");
    EXPECT_EQ(client().device("a", parent), device);
    EXPECT_EQ(client().device("a", ROOT, 20), device);
    EXPECT_EQ(client().device("a", parent, 30), device);
    EXPECT_EQ(client().channels().getDevice(device).parentId, ROOT);
    EXPECT_EQ(client().channels().getDeviceAttribute(device, DeviceAttribute::model), "kept");
    EXPECT_FALSE(exists(20));
    EXPECT_FALSE(exists(30));
}

TEST_P(StoreDeviceTest, AFreeWantedIdentifierIsGiven) {
    EXPECT_EQ(client().device("equipment", ROOT, 2), 2u);
    EXPECT_EQ(client().device("distribution", 2, 20), 20u);
    EXPECT_EQ(client().device("last", ROOT, 999), 999u);
    EXPECT_EQ(client().channels().getDevice(20).parentId, 2u);
}

TEST_P(StoreDeviceTest, AWantedIdentifierThatIsHeldIsTakenOver) {
    client().device("old", ROOT, 20);
    const std::uint64_t parent = client().device("parent");
    EXPECT_EQ(client().device("new", parent, 20), 20u);
    EXPECT_EQ(client().store().uuidOf(20), uuidFor("new"));
    EXPECT_EQ(client().store().deviceIdOf(uuidFor("old")), UNKNOWN_ID);
    EXPECT_EQ(client().channels().getDevice(20).parentId, parent);
}

TEST_P(StoreDeviceTest, TakingOverRemovesTheWholeSubtreeOfTheEarlierDevice) {
    client().device("old", ROOT, 20);
    const std::uint64_t child = client().device("child", 20);
    const std::uint64_t grandchild = client().device("grandchild", child);
    const std::uint64_t channel = client().channel(grandchild, names::FLOAT32);
    const std::uint64_t own = client().channel(20, names::FLOAT32);
    client().channels().setDeviceAttribute(20, DeviceAttribute::model, "old");
    client().device("new", ROOT, 20);
    EXPECT_FALSE(exists(child));
    EXPECT_FALSE(exists(grandchild));
    EXPECT_EQ(client().channels().getChannelDataType(channel), qz::datatype::unknown);
    EXPECT_EQ(client().channels().getChannelDataType(own), qz::datatype::unknown);
    EXPECT_EQ(client().channels().getDeviceAttribute(20, DeviceAttribute::model), "");
    EXPECT_EQ(client().channels().getCatchedChannelId(20, names::FLOAT32), UNKNOWN_ID);
}

TEST_P(StoreDeviceTest, ASeatIsTakenBackByItsEarlierHolder) {
    client().device("old", ROOT, 20);
    client().device("new", ROOT, 20);
    EXPECT_EQ(client().device("old", ROOT, 20), 20u);
    EXPECT_EQ(client().store().uuidOf(20), uuidFor("old"));
    EXPECT_EQ(client().store().deviceIdOf(uuidFor("new")), UNKNOWN_ID);
}

TEST_P(StoreDeviceTest, ATakeOverFromWithinTheSubtreeThatGoesLeavesNoDeviceWithoutParent) {
    client().device("old", ROOT, 20);
    client().device("new", client().device("child", 20), 20);
    client().device("newer", 20, 20);
    for (const qz::CDevice& device : client().browser().snapshot().devices) {
        EXPECT_TRUE(device.id == ROOT || exists(device.parentId)) << device.id;
        EXPECT_NE(device.parentId, device.id);
    }
}

TEST_P(StoreDeviceTest, TheSeatOfTheRootIsNeverTaken) {
    const velk::common::Uuid root = client().store().uuidOf(ROOT);
    const std::uint64_t child = client().device("child");
    EXPECT_NE(client().device("usurper", ROOT, ROOT), ROOT);
    EXPECT_EQ(client().store().uuidOf(ROOT), root);
    EXPECT_TRUE(exists(child));
}

TEST_P(StoreDeviceTest, AnIdentifierOfARemovedDeviceIsNeverGivenAgain) {
    std::set<std::uint64_t> given;
    for (int round = 0; round < 20; ++round) {
        const std::uint64_t device = client().device("round " + std::to_string(round));
        EXPECT_TRUE(given.insert(device).second) << device;
        keepOnly({});
        EXPECT_FALSE(exists(device));
    }
}

TEST_P(StoreDeviceTest, ARemovedDeviceComesBackAsANewOne) {
    const std::uint64_t before = client().device("a");
    keepOnly({});
    const std::uint64_t after = client().device("a");
    EXPECT_NE(after, before);
    EXPECT_EQ(client().store().uuidOf(after), uuidFor("a"));
    EXPECT_FALSE(exists(before));
}

TEST_P(StoreDeviceTest, ChildrenThatAreNotKeptGoWithTheirSubtrees) {
    const std::uint64_t kept = client().device("kept");
    const std::uint64_t gone = client().device("gone");
    const std::uint64_t keptChild = client().device("kept child", kept);
    const std::uint64_t goneChild = client().device("gone child", gone);
    const std::uint64_t goneGrandchild = client().device("gone grandchild", goneChild);
    const std::uint64_t channel = client().channel(goneGrandchild, names::FLOAT32);
    keepOnly({kept});
    EXPECT_TRUE(exists(kept));
    EXPECT_TRUE(exists(keptChild));
    EXPECT_FALSE(exists(gone));
    EXPECT_FALSE(exists(goneChild));
    EXPECT_FALSE(exists(goneGrandchild));
    EXPECT_EQ(client().channels().getChannelDataType(channel), qz::datatype::unknown);
}

TEST_P(StoreDeviceTest, AChildWithAKeptDeviceBelowItStays) {
    const std::uint64_t child = client().device("child");
    const std::uint64_t grandchild = client().device("grandchild", child);
    const std::uint64_t deep = client().device("deep", grandchild);
    const std::uint64_t beside = client().device("beside", child);
    const std::uint64_t other = client().device("other");
    keepOnly({deep});
    EXPECT_TRUE(exists(child));
    EXPECT_TRUE(exists(beside)) << "only direct children are removed";
    EXPECT_TRUE(exists(grandchild));
    EXPECT_TRUE(exists(deep));
    EXPECT_FALSE(exists(other));
}

TEST_P(StoreDeviceTest, DevicesBesideTheCleanedOneStay) {
    const std::uint64_t device = client().device("device");
    const std::uint64_t child = client().device("child", device);
    const std::uint64_t sibling = client().device("sibling");
    const std::uint64_t nephew = client().device("nephew", sibling);
    keepOnly({}, 1000, device);
    EXPECT_FALSE(exists(child));
    EXPECT_TRUE(exists(device));
    EXPECT_TRUE(exists(sibling));
    EXPECT_TRUE(exists(nephew));
}

TEST_P(StoreDeviceTest, NoMoreChildrenAreRemovedThanTheLimitSays) {
    std::vector<std::uint64_t> children;
    for (int number = 0; number < 5; ++number) {
        children.push_back(client().device("child " + std::to_string(number)));
        client().device("below " + std::to_string(number), children.back());
    }
    const auto left = [&] {
        return std::count_if(children.begin(), children.end(),
                             [this](std::uint64_t child) { return exists(child); });
    };
    keepOnly({}, 0);
    EXPECT_EQ(left(), 5);
    keepOnly({}, 2);
    EXPECT_EQ(left(), 3);
    keepOnly({children[4], children[3]}, 1);
    EXPECT_TRUE(exists(children[4]));
    keepOnly({}, 1000);
    EXPECT_EQ(left(), 0);
}

TEST_P(StoreDeviceTest, KeptChildrenDoNotCountForTheLimit) {
    const std::uint64_t kept = client().device("kept");
    const std::uint64_t gone = client().device("gone");
    keepOnly({kept}, 1);
    EXPECT_TRUE(exists(kept));
    EXPECT_FALSE(exists(gone));
}

TEST_P(StoreDeviceTest, AKeepListMayBeLongAndHoldStrangers) {
    std::vector<std::uint64_t> keep;
    for (std::uint64_t stranger = 500000; stranger < 505000; ++stranger) {
        keep.push_back(stranger);
    }
    const std::uint64_t kept = client().device("kept");
    const std::uint64_t gone = client().device("gone");
    keep.push_back(kept);
    keepOnly(keep);
    EXPECT_TRUE(exists(kept));
    EXPECT_FALSE(exists(gone));
}

TEST_P(StoreDeviceTest, AttributesAreEmptyAtFirst) {
    const qz::CDevice device = client().channels().getDevice(client().device("a"));
    EXPECT_EQ(device.attributes.size(), 16u);
    for (const std::string& attribute : device.attributes) {
        EXPECT_EQ(attribute, "");
    }
}

TEST_P(StoreDeviceTest, EachOfTheSixteenAttributesKeepsItsOwnText) {
    const std::uint64_t device = client().device("a");
    for (std::uint32_t number = 0; number < 16; ++number) {
        client().channels().setDeviceAttribute(device, DeviceAttribute{number},
                                               "text " + std::to_string(number));
    }
    const auto other = another();
    for (std::uint32_t number = 0; number < 16; ++number) {
        EXPECT_EQ(other->channels().getDeviceAttribute(device, DeviceAttribute{number}),
                  "text " + std::to_string(number));
    }
}

TEST_P(StoreDeviceTest, AnAttributeIsReplacedAndMayBecomeEmptyAgain) {
    const std::uint64_t device = client().device("a");
    client().channels().setDeviceAttribute(device, DeviceAttribute::location,
                                           "Rack 4, \xC3\x9C"
                                           "berlingen");
    EXPECT_EQ(client().channels().getDeviceAttribute(device, DeviceAttribute::location), "Rack 4, \xC3\x9C"
                                                                                         "berlingen");
    client().channels().setDeviceAttribute(device, DeviceAttribute::location, "");
    EXPECT_EQ(client().channels().getDeviceAttribute(device, DeviceAttribute::location), "");
}

TEST_P(StoreDeviceTest, ADeviceThatWasReadKeepsWhatWasThereThen) {
    const std::uint64_t device = client().device("a");
    client().channels().setDeviceAttribute(device, DeviceAttribute::model, "before");
    const qz::CDevice read = client().channels().getDevice(device);
    client().channels().setDeviceAttribute(device, DeviceAttribute::model, "after");
    EXPECT_EQ(client().channels().getDeviceAttribute(read, DeviceAttribute::model), "before");
    EXPECT_EQ(client().channels().getDeviceAttribute(device, DeviceAttribute::model), "after");
}

} // namespace
} // namespace tessapi::contract
