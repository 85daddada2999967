#include "platform/tessapi/engine/SharedPage.h"

#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/StoreError.h"
#include "testing/TemporaryDirectory.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace {

using qz::CValue;
using std::chrono::milliseconds;
using tessapi::Engine;
using tessapi::InterprocessHold;
using tessapi::InterprocessLock;
using tessapi::NewsRing;
using tessapi::SharedPage;
using tessapi::StoreFault;

/// Programs of two releases on one store, as there are while a package is upgraded.
class SharedPageTest : public ::testing::Test {
protected:
    std::string store() const { return (folder / "tess.db").string(); }
    std::string file() const { return store() + "-lock"; }

    std::shared_ptr<Engine> open() const {
        return Engine::open(tessapi::StoreUrl{"sqlite:" + store()}, true);
    }

    /// Empty unless the page is refused for this reason.
    std::optional<std::string> refusal(StoreFault reason) const {
        try {
            const SharedPage page{file(), "sqlite:/x", milliseconds{1}};
        } catch (const boost::system::system_error& failure) {
            EXPECT_EQ(failure.code(),
                      (boost::system::error_code{static_cast<int>(reason), tessapi::storeCategory()}));
            return failure.what();
        }
        return std::nullopt;
    }

    const velk::testing::TemporaryDirectory folder;
};

TEST_F(SharedPageTest, APageThatAProgramOfAnotherReleaseUsesIsRefusedAndLeftAsItIs) {
    SharedPage theirs{file(), "store"};
    theirs.words().magic[5] ^= 1;
    theirs.words().generation = 77;
    InterprocessLock lock{theirs, "store", milliseconds{1000}};
    const InterprocessHold hold{lock};
    const auto text = refusal(StoreFault::otherRelease);
    EXPECT_EQ(text, "store sqlite:/x: process " + std::to_string(::getpid()) +
                        ": a program of another release works on the store, and has to be ended or started "
                        "anew first [tess:" +
                        std::to_string(static_cast<int>(StoreFault::otherRelease)) + "]");
    EXPECT_EQ(theirs.words().generation, 77U);
}

TEST_F(SharedPageTest, APageOfAnotherReleaseThatNobodyUsesAnyMoreIsMadeAnew) {
    std::uint64_t before = 0;
    {
        SharedPage theirs{file(), "store"};
        theirs.words().magic[5] ^= 1;
        before = theirs.words().generation;
    }
    const SharedPage page{file(), "store"};
    EXPECT_GT(page.words().generation, before);
    EXPECT_NE(page.news(), nullptr);
}

TEST_F(SharedPageTest, NewsThatAnotherReleaseLaysOutOtherwiseAreLeftToIt) {
    SharedPage theirs{file(), "store"};
    theirs.words().newsLayout ^= 1U;
    const SharedPage page{file(), "store"};
    EXPECT_EQ(page.news(), nullptr);
    EXPECT_EQ(page.words().generation, theirs.words().generation) << "the page was made anew";
}

TEST_F(SharedPageTest, TheNewsAreLaidOutAnewOnceNobodyUsesThePageAnyMore) {
    {
        SharedPage theirs{file(), "store"};
        theirs.words().newsLayout ^= 1U;
    }
    const SharedPage page{file(), "store"};
    EXPECT_NE(page.news(), nullptr);
}

TEST_F(SharedPageTest, WhoHangsWhileThePageIsOpenedIsReported) {
    { const SharedPage page{file(), "store"}; }
    const int opened = ::open(file().c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(opened, LOCK_EX), 0);
    EXPECT_TRUE(refusal(StoreFault::locked).has_value());
    ::close(opened);
    EXPECT_FALSE(refusal(StoreFault::locked).has_value());
}

/// A program that runs on with the news as it knows them, and one of another release: to each of them the
/// news are laid out as it does it, or as it does not know it.
class TwoReleasesTest : public SharedPageTest {
protected:
    TwoReleasesTest() : running{open()} {
        channel = running->emplaceChannel(1, "PowerDistribution.Status.Source");
        running->setValue(channel, CValue{1U});
        seen = running->startOf({}).seq;
    }

    /// What `work` does is done by the program of the other release.
    template <class Work>
    auto asOther(Work work) {
        SharedPage page{file(), "store"};
        const auto usual = page.words().newsLayout;
        page.words().newsLayout = usual ^ 1U;
        auto result = work();
        page.words().newsLayout = usual;
        return result;
    }

    /// The values after `seq`, until nothing comes for long enough.
    static std::vector<std::uint32_t> valuesAfter(Engine& listener, std::int64_t seq, std::size_t expected) {
        std::vector<std::uint32_t> values;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{20};
        while (values.size() < expected && std::chrono::steady_clock::now() < end) {
            const auto ticket = listener.wakeup().ticket();
            auto news = listener.newsAfter(seq);
            for (const auto& change : news.changes) {
                EXPECT_EQ(change.seq, ++seq);
                values.push_back(change.value.as_uint32());
            }
            if (news.changes.empty()) {
                listener.wakeup().wait(ticket, milliseconds{50});
            }
        }
        return values;
    }

    const std::shared_ptr<Engine> running;
    std::uint64_t channel{0};
    std::int64_t seen{0};
};

using Values = std::vector<std::uint32_t>;

TEST_F(TwoReleasesTest, EachReadsWhatTheOtherHasWritten) {
    const auto other = asOther([&] { return open(); });
    for (std::uint32_t value = 2; value < 20; value += 2) {
        asOther([&] { return other->setValue(channel, CValue{value}), 0; });
        EXPECT_EQ(running->valueOf(channel), CValue{value});
        running->setValue(channel, CValue{value + 1});
        EXPECT_EQ(asOther([&] { return other->valueOf(channel); }), CValue{value + 1});
    }
}

TEST_F(TwoReleasesTest, EachHearsEveryChangeOfBothInOrder) {
    const auto other = asOther([&] { return open(); });
    Values written;
    for (std::uint32_t value = 2; value < 10; value += 2) {
        running->setValue(channel, CValue{value});
        asOther([&] { return other->setValue(channel, CValue{value + 1}), 0; });
        written.push_back(value);
        written.push_back(value + 1);
    }
    EXPECT_EQ(valuesAfter(*running, seen, written.size()), written);
    EXPECT_EQ(asOther([&] { return valuesAfter(*other, seen, written.size()); }), written);
}

TEST_F(TwoReleasesTest, TheLastChangeOfTheOtherIsHeardAlsoIfNobodyWritesAgain) {
    const auto other = asOther([&] { return open(); });
    EXPECT_TRUE(running->newsAfter(seen).changes.empty());
    asOther([&] { return other->setValue(channel, CValue{2U}), 0; });
    EXPECT_EQ(valuesAfter(*running, seen, 1), Values{2});
    EXPECT_EQ(asOther([&] { return valuesAfter(*other, seen, 1); }), Values{2});
}

TEST_F(TwoReleasesTest, NothingIsPutAmongTheNewsOfTheOther) {
    SharedPage page{file(), "store"};
    const auto newest = page.words().news.newest.load();
    asOther([&] { return running->setValue(channel, CValue{2U}), 0; });
    EXPECT_EQ(page.words().news.newest, newest);
}

} // namespace
