#pragma once

#include "cli/Session.h"
#include "testing/FakeTessAccessor.h"
#include "tests/cli/SnapshotBuilder.h"

#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string>

namespace velk::cli::test {

/// A store that shows the picture that a test has built, as it is at the moment of looking.
class SnapshotStore : public velk::testing::FakeTessAccessor {
public:
    explicit SnapshotStore(const SnapshotBuilder& shown) : picture{shown} {}

    velk::testing::FakeStoreBrowser& browser() override { return picture; }

private:
    class Picture : public velk::testing::FakeStoreBrowser {
    public:
        explicit Picture(const SnapshotBuilder& shown) : builder{shown} {}
        tessapi::StoreSnapshot snapshot() override { return builder.build(); }

    private:
        const SnapshotBuilder& builder;
    };

    Picture picture;
};

/// A command in this process: on `store`, which outlives it, at `SnapshotBuilder::NOW_MS`, in UTC.
class TestSession {
public:
    explicit TestSession(tessapi::ITessAccessor& shown,
                         velk::common::Clock& waitingClock = velk::common::Clock::system()) :
        store{shown}, clock{waitingClock} {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    /// What was printed since the last call.
    std::string takeOut() {
        const std::string text = out.str();
        out.str("");
        return text;
    }

    tessapi::ITessAccessor& store;
    velk::common::Clock& clock;
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    Session session{
        store, in, out, err, clock, false, false, Style{false}, [] {
                        return SnapshotBuilder::NOW_MS; }};
};

} // namespace velk::cli::test
