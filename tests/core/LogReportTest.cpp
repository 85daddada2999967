#include "powerdistribution/protocols/LogReportWrapperFactory.h"
#include "powerdistribution/protocols/RWValueWrapper.h"
#include "testing/FakeWrapper.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace velk::powerdistribution::protocols {
namespace {

class LogReportTest : public ::testing::Test {
protected:
    std::shared_ptr<velk::testing::FakeWrapperFactory> device =
        std::make_shared<velk::testing::FakeWrapperFactory>();
    std::vector<DeviceLogPiece> pieces;
    LogReportWrapper::Count made = std::make_shared<std::atomic<std::uint64_t>>(0);
    LogReportWrapperFactory factory{device, [this](const DeviceLogPiece& piece) { pieces.push_back(piece); },
                                    made};
    EPath chunk{EPrivate::InternalLogs, EPrivate::LogChunk};
};

Value chunkOf(std::uint32_t id) {
    InternalLogChunk::Entries entries(1);
    entries[0].id = id;
    return Value{InternalLogChunk{entries.begin(), entries.end()}};
}

TEST_F(LogReportTest, ThatThereIsALogIsReportedBeforeAnybodyReadsIt) {
    device->add(chunk, chunkOf(7));
    const ValueWrapperPtr wrapper = factory.buildWrapper(chunk);
    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_TRUE(pieces[0].entries.entries().empty());
    EXPECT_EQ(pieces[0].error, "");
}

TEST_F(LogReportTest, APieceIsReportedAndPassedOn) {
    device->add(chunk, chunkOf(7));
    EXPECT_EQ(factory.buildWrapper(chunk)->read(), chunkOf(7));
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(Value{pieces[1].entries}, chunkOf(7));
    EXPECT_EQ(pieces[1].error, "");
}

TEST_F(LogReportTest, NothingNewIsAPieceWithoutEntries) {
    device->add(chunk, Value{});
    EXPECT_EQ(factory.buildWrapper(chunk)->read(), Value{});
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_TRUE(pieces[1].entries.entries().empty());
    EXPECT_EQ(pieces[1].error, "");
}

TEST_F(LogReportTest, AValueOfAnotherKindIsReportedByItsNameAndPassedOn) {
    device->add(chunk, Value{1.0F});
    EXPECT_EQ(factory.buildWrapper(chunk)->read(), Value{1.0F});
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(pieces[1].error, "the device gave a float in place of a piece of its log");
}

TEST_F(LogReportTest, AnExceptionIsReportedWithItsTextAndPassedOn) {
    auto& point = device->add(chunk, Value{});
    point.throwOnRead("no answer");
    point.throwOnWrite("no ear");
    const ValueWrapperPtr wrapper = factory.buildWrapper(chunk);
    EXPECT_THROW(wrapper->read(), std::runtime_error);
    EXPECT_THROW(wrapper->write(Value{0U}), std::runtime_error);
    ASSERT_EQ(pieces.size(), 3U);
    EXPECT_EQ(pieces[1].error, "no answer");
    EXPECT_EQ(pieces[2].error, "no ear");
}

/// Throws what is no std::exception.
class ForeignWrapper final : public RWValueWrapper {
public:
    Value read() const override { throw 7; }
    bool write(const Value&) override { throw 7; }
};

TEST_F(LogReportTest, AnExceptionThatIsNoneOfTheStandardLibraryIsReportedAndPassedOn) {
    LogReportWrapper wrapper{std::make_unique<ForeignWrapper>(),
                             [this](const DeviceLogPiece& piece) { pieces.push_back(piece); }, made};
    EXPECT_THROW(wrapper.read(), int);
    EXPECT_THROW(wrapper.write(Value{0U}), int);
    ASSERT_EQ(pieces.size(), 3U);
    EXPECT_EQ(pieces[1].error, "an exception that is none of the standard library");
    EXPECT_EQ(pieces[2].error, "an exception that is none of the standard library");
}

TEST_F(LogReportTest, OfAFormerModelNothingIsReportedAnyMore) {
    auto& point = device->add(chunk, chunkOf(7));
    const ValueWrapperPtr former = factory.buildWrapper(chunk);
    const LogReportWrapperFactory next{device, [](const DeviceLogPiece&) {}, made};
    const ValueWrapperPtr present = next.buildWrapper(chunk);
    EXPECT_EQ(former->read(), chunkOf(7));
    point.throwOnRead("no answer");
    EXPECT_THROW(former->read(), std::runtime_error);
    EXPECT_EQ(pieces.size(), 1U); // that there is a log
}

TEST_F(LogReportTest, AListenerThatThrowsDoesNotCostThePiece) {
    device->add(chunk, chunkOf(7));
    const LogReportWrapperFactory broken{
        device, [](const DeviceLogPiece&) { throw std::runtime_error{"full"}; }, made};
    EXPECT_EQ(broken.buildWrapper(chunk)->read(), chunkOf(7));
}

TEST_F(LogReportTest, OnlyTheLogIsListenedTo) {
    device->add({EPrivate::InternalLogs, EPrivate::LogTopId}, Value{7U});
    device->add({EStatus::Mode}, Value{2U});
    factory.buildWrapper({EPrivate::InternalLogs, EPrivate::LogTopId})->read();
    factory.buildWrapper({EStatus::Mode})->read();
    EXPECT_TRUE(pieces.empty());
    EXPECT_EQ(factory.buildWrapper(chunk), nullptr);
    EXPECT_EQ(factory.buildWrapper(EPath{}), nullptr);
}

} // namespace
} // namespace velk::powerdistribution::protocols
