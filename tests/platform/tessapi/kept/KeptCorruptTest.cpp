#include "tests/platform/tessapi/kept/KeptTest.h"

#include <fstream>
#include <iterator>
#include <regex>
#include <vector>

namespace tessapi::kept {
namespace {

namespace fs = std::filesystem;
using qz::CValue;

/// A file in memory with pages that are not what they were, while the copy on disk is whole or not.
class KeptCorruptTest : public KeptTest {
protected:
    KeptCorruptTest() {
        const auto store = open();
        setting = store->emplaceChannel(1, names::SETTING);
        store->setValue(setting, CValue{std::int32_t{7}});
        passMoment();
    }

    static std::string contentOf(const fs::path& path) {
        std::ifstream stream{path, std::ios::binary};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    /// Overwrites all pages but the first one, which says what the file is.
    void spoil(const std::string& file) const {
        execute(file, "PRAGMA wal_checkpoint(TRUNCATE)");
        std::fstream stream{file, std::ios::in | std::ios::out | std::ios::binary};
        const auto size = fs::file_size(file);
        stream.seekp(4096);
        stream << std::string(size - 4096, '\x5a');
    }

    std::vector<fs::path> setAside() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator{memory()}) {
            const std::regex name{R"(tess-.*\.db\.corrupt-\d{4}-\d\d-\d\dT\d\d-\d\d-\d\dZ(-\d+)?)"};
            if (std::regex_match(entry.path().filename().string(), name)) {
                found.push_back(entry.path());
            }
        }
        return found;
    }

    std::uint64_t setting{0};
};

TEST_F(KeptCorruptTest, ItIsSetAsideAndFilledFromTheDiskAndThatIsSaid) {
    const auto file = workingFile();
    spoil(file);
    const auto before = contentOf(file);
    ::testing::internal::CaptureStderr();
    const auto store = open();
    const auto said = ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(setAside().size(), 1U);
    EXPECT_EQ(said, "WARNING - store " + url() + ": the file in memory was corrupt and is now " +
                        setAside().front().string() + "; it is filled from " + path() +
                        ", as that was copied last\n");
    EXPECT_EQ(contentOf(setAside().front()), before);
    EXPECT_EQ(store->valueOf(setting), CValue{std::int32_t{7}});
    store->setValue(setting, CValue{std::int32_t{8}});
    passMoment();
    EXPECT_EQ(openAfterPowerCut()->valueOf(setting), CValue{std::int32_t{8}});
}

TEST_F(KeptCorruptTest, OfSeveralOnlyTheNewestTakesRoomInMemory) {
    for (int time = 0; time < 3; ++time) {
        spoil(workingFile());
        std::ofstream{workingFile(), std::ios::app} << std::string(static_cast<std::size_t>(time), 'x');
        const auto before = contentOf(workingFile());
        ::testing::internal::CaptureStderr();
        open();
        ::testing::internal::GetCapturedStderr();
        ASSERT_EQ(setAside().size(), 1U);
        EXPECT_EQ(contentOf(setAside().front()), before);
    }
}

TEST_F(KeptCorruptTest, AProgramThatOnlyLooksMendsItToo) {
    spoil(workingFile());
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(open(simpleUrl(), false)->valueOf(setting), CValue{std::int32_t{7}});
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(setAside().size(), 1U);
}

TEST_F(KeptCorruptTest, WhileAnotherProgramWorksItStaysWhereItIs) {
    const auto running = open();
    spoil(workingFile());
    EXPECT_THROW(Engine::open(StoreUrl{url()}, true, options), boost::system::system_error);
    EXPECT_TRUE(setAside().empty());
}

TEST_F(KeptCorruptTest, WhenTheCopyIsNotWholeEitherBothStayAsTheyAre) {
    const auto file = workingFile();
    spoil(file);
    spoil(path());
    const auto before = contentOf(file);
    EXPECT_THROW(Engine::open(StoreUrl{url()}, true, options), boost::system::system_error);
    EXPECT_TRUE(setAside().empty());
    EXPECT_EQ(contentOf(file), before);
}

TEST_F(KeptCorruptTest, WhenBothAreNotWholeANewStoreIsBegunIfThatIsAllowed) {
    spoil(workingFile());
    spoil(path());
    ::testing::internal::CaptureStderr();
    const auto store = open(url() + "&when-corrupt=set-aside");
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(store->image().content.devices.size(), 1U);
    EXPECT_EQ(setAside().size(), 1U);
}

TEST_F(KeptCorruptTest, ACopyThatIsNotWholeIsMadeAnewFromAFileInMemoryThatIs) {
    { open()->setValue(setting, CValue{std::int32_t{8}}); }
    spoil(path());
    ::testing::internal::CaptureStderr();
    {
        const auto store = open(url() + "&when-corrupt=set-aside");
        EXPECT_EQ(store->valueOf(setting), CValue{std::int32_t{8}});
        EXPECT_EQ(store->health().file->path, workingFile());
    }
    const auto said = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find(path() + " was gone and is made anew from " + workingFile()), std::string::npos)
        << said;
    boot();
    EXPECT_EQ(open()->valueOf(setting), CValue{std::int32_t{8}}) << "the new copy has all of it";
}

TEST_F(KeptCorruptTest, ACopyThatIsGoneIsMadeAnewFromTheFileInMemory) {
    {
        const auto store = open();
        const auto measured = store->emplaceChannel(1, names::MEASURED);
        store->setValue(measured, CValue{230.0F});
        store->setAttribute(1, 5, "model");
    }
    const auto before = open()->image();
    for (const char* part : {"", "-wal"}) {
        fs::remove(path() + part);
    }
    { const auto store = open(); }
    boot();
    const auto after = open()->image();
    ASSERT_EQ(after.content.channels.size(), before.content.channels.size());
    for (std::size_t i = 0; i < after.content.channels.size(); ++i) {
        EXPECT_EQ(after.content.channels[i].value, before.content.channels[i].value);
        EXPECT_EQ(after.content.channels[i].writtenMs, before.content.channels[i].writtenMs);
    }
    EXPECT_EQ(after.content.devices[0].attributes, before.content.devices[0].attributes);
    EXPECT_EQ(after.lastChannel, before.lastChannel);
}

TEST_F(KeptCorruptTest, AProgramThatWasKilledWhileItSetAsideLeavesWhatIsFilledAgain) {
    const auto file = workingFile();
    {
        const auto store = open();
        store->setValue(setting, CValue{std::int32_t{9}});
        passMoment();
        fs::copy_file(file + "-wal", folder / "log");
    }
    fs::rename(file, file + ".corrupt-2026-11-21T19-55-00Z"); // and not yet its log
    fs::remove(file + "-wal");
    fs::copy_file(folder / "log", file + "-wal");
    EXPECT_EQ(open()->valueOf(setting), CValue{std::int32_t{9}});
    EXPECT_EQ(setAside().size(), 1U);
}

} // namespace
} // namespace tessapi::kept
