#include "powerdistribution/handlers/InternalLogsHandler.h"

#include "HandlerFixture.h"

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakePoint;
using Calls = std::vector<std::string>;
using Entry = InternalLogChunk::InternalLogEntry;

const EPath path{EPrivate::InternalLogs};
const EPath topPath = path + EPrivate::LogTopId;
const EPath chunkPath = path + EPrivate::LogChunk;

Value chunk(const std::vector<std::uint32_t>& ids) {
    InternalLogChunk::Entries entries;
    for (const std::uint32_t id : ids) {
        Entry entry;
        entry.id = id;
        entries.push_back(entry);
    }
    return Value{InternalLogChunk{entries.begin(), entries.end()}};
}

/// The one way to a request that nothing in the system makes: a template may name what is private.
template <bool InternalLogsHandler::*Request>
struct RequestAccess {
    friend void requestStatus(InternalLogsHandler& handler) { handler.*Request = true; }
};
void requestStatus(InternalLogsHandler& handler);
template struct RequestAccess<&InternalLogsHandler::statusRequested>;

class InternalLogsHandlerTest : public testing::HandlerFixture {
protected:
    /// The trace of one refresh.
    static std::string refresh(InternalLogsHandler& handler) {
        ::testing::internal::CaptureStdout();
        handler.refresh();
        return ::testing::internal::GetCapturedStdout();
    }

    /// Serves a chunk whatever is written, as a device does.
    FakePoint& serveChunk(const Value& value) {
        FakePoint& point = device.add(chunkPath, value);
        point.ignoreWrites(true);
        return point;
    }
};

TEST_F(InternalLogsHandlerTest, AsksForItsTwoDataPointsAndNoConnector) {
    const auto handler = make<InternalLogsHandler>(path);
    EXPECT_EQ(device.asked(),
              (Calls{"Private.InternalLogs.Private.LogTopId", "Private.InternalLogs.Private.LogChunk"}));
    EXPECT_TRUE(store.calls().calls().empty());
    handler->initialize();
    handler->terminate();
    EXPECT_TRUE(store.calls().calls().empty());
}

TEST_F(InternalLogsHandlerTest, TheFirstRefreshAsksFromZeroAndPrintsWhatComes) {
    device.add(topPath, Value{9u});
    FakePoint& point = serveChunk(chunk({8, 9}));
    const auto handler = make<InternalLogsHandler>(path);
    EXPECT_EQ(refresh(*handler), "--------------------------APPEND----------------------------\n"
                                 "Event Id       Date                     Code  St Md Rc    Sev\n"
                                 "      00000008 1970-01-01T00:00:00.000Z 00000 00 00 00000 00\n"
                                 "      00000009 1970-01-01T00:00:00.000Z 00000 00 00 00000 00\n");
    EXPECT_EQ(point.written(), std::vector<Value>{Value{0u}});
}

TEST_F(InternalLogsHandlerTest, ADeviceWithoutNewerEventsIsNotAsked) {
    device.add(topPath, Value{9u});
    FakePoint& point = serveChunk(chunk({9}));
    const auto handler = make<InternalLogsHandler>(path);
    refresh(*handler);
    EXPECT_EQ(refresh(*handler), "");
    EXPECT_EQ(point.writes(), 1U);
    EXPECT_EQ(point.reads(), 1U);
}

TEST_F(InternalLogsHandlerTest, ADeviceWithAnEmptyLogIsNotAsked) {
    device.add(topPath, Value{0u});
    FakePoint& point = serveChunk(chunk({9}));
    const auto handler = make<InternalLogsHandler>(path);
    refresh(*handler);
    EXPECT_EQ(point.writes() + point.reads(), 0U);
}

TEST_F(InternalLogsHandlerTest, GoesOnFromTheLastNumberThatCame) {
    device.add(topPath, Value{20u});
    FakePoint& point = serveChunk(chunk({8, 9}));
    const auto handler = make<InternalLogsHandler>(path);
    refresh(*handler);
    point.setValue(chunk({10}));
    refresh(*handler);
    refresh(*handler);
    EXPECT_EQ(point.written(), (std::vector<Value>{Value{0u}, Value{9u}, Value{10u}}));
}

TEST_F(InternalLogsHandlerTest, LowerNumbersAreAppendedAndTheLastNumberFallsBack) {
    device.add(topPath, Value{20u});
    FakePoint& point = serveChunk(chunk({9}));
    const auto handler = make<InternalLogsHandler>(path);
    refresh(*handler);
    point.setValue(chunk({3}));
    EXPECT_NE(refresh(*handler).find("      00000003 "), std::string::npos);
    refresh(*handler);
    EXPECT_EQ(point.written().back(), Value{3u});
}

TEST_F(InternalLogsHandlerTest, WithoutNewestNumberTheDeviceIsAskedEveryTime) {
    FakePoint& point = serveChunk(chunk({9}));
    const auto handler = make<InternalLogsHandler>(path);
    refresh(*handler);
    refresh(*handler);
    EXPECT_EQ(point.writes(), 2U);
}

TEST_F(InternalLogsHandlerTest, ANewestNumberOfAnotherAlternativeIsNone) {
    device.add(topPath, Value{0});
    FakePoint& point = serveChunk(chunk({9}));
    const auto handler = make<InternalLogsHandler>(path);
    refresh(*handler);
    device.point(topPath).setValue({});
    refresh(*handler);
    EXPECT_EQ(point.writes(), 2U);
}

TEST_F(InternalLogsHandlerTest, NoChunkAnEmptyOneAndAnotherAlternativeLeaveTheCache) {
    FakePoint& point = serveChunk({});
    const auto handler = make<InternalLogsHandler>(path);
    EXPECT_EQ(refresh(*handler), "");
    point.setValue(chunk({}));
    EXPECT_EQ(refresh(*handler), "");
    point.setValue(Value{7u});
    EXPECT_EQ(refresh(*handler), "");
    EXPECT_EQ(point.written(), std::vector<Value>(3, Value{0u})) << "each refresh tries again";
}

TEST_F(InternalLogsHandlerTest, WithoutChunksNothingIsAsked) {
    FakePoint& top = device.add(topPath, Value{9u});
    const auto handler = make<InternalLogsHandler>(path);
    EXPECT_EQ(refresh(*handler), "");
    EXPECT_EQ(top.reads(), 1U);
}

TEST_F(InternalLogsHandlerTest, ADeviceThatRefusesTheStartingNumberIsReadAllTheSame) {
    FakePoint& point = serveChunk(chunk({9}));
    point.refuseWrites(true);
    const auto handler = make<InternalLogsHandler>(path);
    EXPECT_NE(refresh(*handler).find("      00000009 "), std::string::npos);
}

TEST_F(InternalLogsHandlerTest, ARequestedStatusIsPrintedOnceBehindWhatCame) {
    device.add(topPath, Value{9u});
    serveChunk(chunk({8, 9}));
    const auto handler = make<InternalLogsHandler>(path);
    requestStatus(*handler);
    EXPECT_EQ(refresh(*handler), "--------------------------APPEND----------------------------\n"
                                 "Event Id       Date                     Code  St Md Rc    Sev\n"
                                 "      00000008 1970-01-01T00:00:00.000Z 00000 00 00 00000 00\n"
                                 "      00000009 1970-01-01T00:00:00.000Z 00000 00 00 00000 00\n"
                                 "--------------------------STATUS----------------------------\n"
                                 "Event Log contains 2 events :\n"
                                 "Start 00000008 1970-01-01T00:00:00.000Z 00000 00 00 00000 00\n"
                                 "End   00000009 1970-01-01T00:00:00.000Z 00000 00 00 00000 00\n");
    EXPECT_EQ(refresh(*handler), "");
}

TEST_F(InternalLogsHandlerTest, AFailureGoesToTheCallerAndTheNextRefreshTriesAgain) {
    FakePoint& point = serveChunk(chunk({9}));
    const auto handler = make<InternalLogsHandler>(path);
    point.throwOnRead("no answer");
    EXPECT_THROW(handler->refresh(), std::runtime_error);
    point.throwOnRead("");
    EXPECT_NE(refresh(*handler), "");
}

} // namespace
} // namespace velk::powerdistribution::handlers
