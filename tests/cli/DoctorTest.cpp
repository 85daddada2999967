#include "cli/doctor/DaemonDiagnosis.h"
#include "cli/doctor/FileDiagnosis.h"
#include "cli/doctor/MachineDiagnosis.h"
#include "cli/doctor/ProgramOutput.h"
#include "cli/doctor/StoreDiagnosis.h"
#include "cli/doctor/TrustedFile.h"
#include "platform/common/ProcessMark.h"
#include "testing/ChildProcess.h"
#include "testing/FakeClock.h"
#include "testing/TemporaryDirectory.h"
#include "tests/cli/RandomImage.h"
#include "tests/cli/SnapshotBuilder.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace velk::cli {
namespace {

using Kind = Diagnosis::Kind;

constexpr std::int64_t NOW_MS = 1'780'000'000'000;

/// The only one that is found.
Diagnosis only(const Diagnoses& found) {
    EXPECT_EQ(found.size(), 1U);
    return found.empty() ? Diagnosis{} : found.front();
}

void expectProblem(const Diagnosis& diagnosis, const std::string& detail, const std::string& advice) {
    EXPECT_EQ(diagnosis.kind, Kind::Problem) << diagnosis.detail;
    EXPECT_NE(diagnosis.detail.find(detail), std::string::npos) << diagnosis.detail;
    EXPECT_NE(diagnosis.advice.find(advice), std::string::npos) << diagnosis.advice;
}

class DoctorFilesTest : public ::testing::Test {
protected:
    std::string write(const std::string& name, const std::string& text, mode_t mode) {
        std::ofstream{folder / name} << text;
        chmod((folder / name).c_str(), mode);
        return (folder / name).string();
    }

    velk::testing::TemporaryDirectory folder;
};

TEST(DoctorStoreTest, AStoreThatCannotBeOpenedComesWithTheCauseAndWhatToDo) {
    const StorePlace place{"sqlite:/x/tess.db", "TESS_URL", "/x/tess.db"};
    const boost::system::system_error full{ENOSPC, boost::system::system_category(),
                                           "store sqlite:/x/tess.db"};
    expectProblem(diagnoseOpening(place, full), "No space left on device", "make space");
    expectProblem(diagnoseOpening(place, std::invalid_argument{"\"x\" names no store"}),
                  "\"x\" names no store (TESS_URL)", "sqlite:PATH");
}

TEST(DoctorStoreTest, ThePlaceIsToldWithItsReason) {
    setenv("TESS_URL", "sqlite:/run/x.db?working=/run/velk", 1);
    EXPECT_EQ(placeOfStore("").reason, "TESS_URL");
    EXPECT_EQ(placeOfStore("").file, "/run/x.db");
    EXPECT_EQ(placeOfStore("memory:a").reason, "named by --store");
    EXPECT_EQ(placeOfStore("memory:a").file, "");
    unsetenv("TESS_URL");
    setenv("STATE_DIRECTORY", "/var/lib/velk", 1);
    EXPECT_EQ(placeOfStore("").reason, "no TESS_URL: STATE_DIRECTORY");
    unsetenv("STATE_DIRECTORY");
    EXPECT_EQ(diagnosePlace({"memory:a", "TESS_URL", ""}).detail, "memory:a (TESS_URL)");
}

TEST(DoctorStoreTest, ContentThatContradictsItselfIsAProblem) {
    tessapi::StoreImage image = test::RandomImage{3}.make();
    EXPECT_EQ(diagnoseContent(image).kind, Kind::Ok);
    image.content.devices.push_back(image.content.devices.front());
    expectProblem(diagnoseContent(image), "the device 1 is there twice", "tess import");
}

TEST(DoctorStoreTest, WhoHasTheStoreOpenIsNamed) {
    EXPECT_EQ(diagnoseUsers({}).detail, "no other program that this user can see");
    EXPECT_EQ(diagnoseUsers({{12, "tess"}, {30, "powerdistributiond"}}).detail,
              "tess (process 12), powerdistributiond (process 30)");
}

TEST(DoctorStoreTest, TheEngineIsToldWithItsSizes) {
    tessapi::StoreHealth health;
    health.engine = "sqlite";
    health.file = tessapi::StoreHealth::File{"/run/velk/tess.db", 2048, 1536, 1024, 2, 0};
    health.copy = tessapi::StoreHealth::Copy{};
    health.copy->path = "/var/lib/velk/tess.db";
    EXPECT_EQ(diagnoseEngine(health).detail,
              "sqlite, /run/velk/tess.db of 2.0 KiB, write-ahead log of 1.5 KiB, "
              "copied to /var/lib/velk/tess.db");
}

TEST_F(DoctorFilesTest, AStoreForItsGroupIsGood) {
    write("tess.db", "", 0660);
    write("tess.db-wal", "", 0660);
    const Diagnosis found = only(diagnoseFiles(filesOfStore((folder / "tess.db").string())));
    EXPECT_EQ(found.kind, Kind::Ok);
    EXPECT_NE(found.detail.find("0660"), std::string::npos) << found.detail;
}

TEST_F(DoctorFilesTest, AFileThatOthersMayReadIsAProblem) {
    write("tess.db", "", 0664);
    write("tess.db-shm", "", 0666);
    const Diagnosis found = only(diagnoseFiles(filesOfStore((folder / "tess.db").string())));
    expectProblem(found, "tess.db (", "chmod o-rwx " + (folder / "tess.db").string() + " ");
    expectProblem(found, "tess.db-shm (", (folder / "tess.db-shm").string());
}

TEST_F(DoctorFilesTest, AFolderThatOthersMayWriteToIsAProblem) {
    const std::string file = write("tess.db", "", 0660);
    chmod(folder.path().c_str(), 0777);
    expectProblem(only(diagnoseFiles(filesOfStore(file))), "0777", "chmod o-rwx " + folder.path().string());
    chmod(folder.path().c_str(), 01777);
    EXPECT_EQ(only(diagnoseFiles(filesOfStore(file))).kind, Kind::Ok);
}

TEST_F(DoctorFilesTest, AStoreForItsOwnerAloneIsWorthANote) {
    const Diagnosis found = only(diagnoseFiles(filesOfStore(write("tess.db", "", 0600))));
    EXPECT_EQ(found.kind, Kind::Note);
    EXPECT_NE(found.advice.find("chmod g+rw "), std::string::npos);
}

TEST_F(DoctorFilesTest, APasswordThatOthersMayReadIsAProblem) {
    write("upsd.pass", "secret\n", 0644);
    const std::string file = write("velk.json", R"({"nut": {"passwordFile": "upsd.pass"}})", 0644);
    expectProblem(only(diagnoseSecrets(file)), "upsd.pass (",
                  "chmod o-rwx " + (folder / "upsd.pass").string());
    chmod((folder / "upsd.pass").c_str(), 0640);
    EXPECT_EQ(only(diagnoseSecrets(file)).kind, Kind::Ok);
}

TEST_F(DoctorFilesTest, AConfigurationWithAPasswordInItIsASecretItself) {
    const std::string file = write("velk.json", R"({"x": [{"password": "secret"}]})", 0644);
    expectProblem(only(diagnoseSecrets(file)), "velk.json (", "chmod o-rwx " + file);
}

TEST_F(DoctorFilesTest, APasswordFileThatIsNotThereIsAProblem) {
    expectProblem(only(diagnoseSecrets(write("velk.json", R"({"a": {"passwordFile": "none"}})", 0640))),
                  "none is not there", "first line");
    EXPECT_TRUE(diagnoseSecrets(write("bad.json", "{", 0640)).empty());
    EXPECT_TRUE(diagnoseSecrets(write("plain.json", "{\"nut\": {}}", 0644)).empty());
}

TEST(DoctorDaemonTest, EveryStateOfTheDaemonIsTold) {
    const std::string mine = velk::common::ProcessMark::ofThisProcess();
    EXPECT_EQ(diagnoseDaemon({DaemonState::Kind::Running, 12, NOW_MS, mine}, NOW_MS).kind, Kind::Ok);
    expectProblem(diagnoseDaemon({DaemonState::Kind::AtRest, 0, NOW_MS, ""}, NOW_MS),
                  "nobody looks at the device since", "systemctl start");
    expectProblem(diagnoseDaemon({DaemonState::Kind::Gone, 12, NOW_MS, "pid=12"}, NOW_MS),
                  "process 12, at work since", "its journal says why");
    expectProblem(diagnoseDaemon({}, NOW_MS), "none has ever used this store", "start powerdistributiond");
}

TEST(DoctorDaemonTest, WhatTheCheckOfTheConfigurationFoundIsTold) {
    const Diagnoses found = diagnoseConfiguration(R"({"configuration": "/etc/velk.json", "good": false,
        "findings": [{"severity": "error", "text": "/etc/velk.json:1:2: bad"},
                     {"severity": "warning", "text": "/etc/velk.json:2:2: odd"}],
        "plugins": [{"path": "/a.so", "state": "loaded", "why": ""},
                    {"path": "/b.so", "state": "not loaded", "why": "undefined symbol: x"},
                    {"path": "/c.so", "state": "no plug-in", "why": "it has no velkProtocolLibrary"},
                    {"path": "/d.so", "state": "declined", "why": "its entry gives nothing"}]})");
    ASSERT_EQ(found.size(), 6U);
    expectProblem(found[0], "/etc/velk.json:1:2: bad", "mend it");
    EXPECT_EQ(found[1], Diagnosis::note("configuration", "/etc/velk.json:2:2: odd"));
    EXPECT_EQ(found[2], Diagnosis::ok("plug-in", "/a.so: loaded"));
    expectProblem(found[3], "/b.so: not loaded: undefined symbol: x", "install");
    EXPECT_EQ(found[4].kind, Kind::Note);
    EXPECT_EQ(found[5].kind, Kind::Note);
}

TEST(DoctorDaemonTest, AGoodConfigurationIsNamed) {
    EXPECT_EQ(only(diagnoseConfiguration(
                  R"({"configuration": "/etc/velk.json", "good": true, "findings": [], "plugins": []})")),
              Diagnosis::ok("configuration", "/etc/velk.json"));
}

TEST(DoctorDaemonTest, TheConfigurationIsTheOneOfTheDaemonsCommandLine) {
    velk::testing::ChildProcess daemon{
        {"/bin/sh", "-c", "echo up; read line", "sh", "--config", "etc/velk.json"}};
    ASSERT_TRUE(daemon.awaitOutput("up"));
    const DaemonState state{DaemonState::Kind::Running, daemon.pid(), NOW_MS, "x"};
    EXPECT_EQ(configurationOfDaemon(state, "/bin/sh").file,
              std::filesystem::current_path().string() + "/etc/velk.json");
    EXPECT_EQ(configurationOfDaemon(state, "/bin/cat").doubt,
              "process " + std::to_string(daemon.pid()) + ", as far as this user can see, is not /bin/cat");
    daemon.closeInput();
    EXPECT_EQ(daemon.finish(), 1) << "read found the end";
}

TEST(DoctorDaemonTest, ADaemonThatDoesNotAnswerIsAProblem) {
    expectProblem(diagnoseDaemon({DaemonState::Kind::Running, 12, NOW_MS, "x", false}, NOW_MS),
                  "does not answer", "systemctl restart");
}

TEST_F(DoctorFilesTest, AFileIsTrustedWhenNobodyButItsOwnerCanHaveMadeIt) {
    const std::string file = write("velk.json", "{}", 0640);
    EXPECT_EQ(distrustOf(file), "");
    chmod(file.c_str(), 0660);
    EXPECT_EQ(distrustOf(file), file + " can be written by others than its owner (0660)");
    chmod(file.c_str(), 0640);
    chmod(folder.path().c_str(), 0770);
    EXPECT_EQ(distrustOf(file), folder.path().string() + " can be written by others than its owner (0770)");
    EXPECT_NE(distrustOf(file + "x"), "");
}

TEST_F(DoctorFilesTest, AFileOfSomebodyElseIsNotTrusted) {
    const std::string file = write("velk.json", "{}", 0640);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(file.c_str(), 65534, 0), 0);
        EXPECT_NE(distrustOf(file).find(" belongs to "), std::string::npos) << distrustOf(file);
    } else {
        EXPECT_EQ(distrustOf("/etc/passwd"), "") << "of root";
    }
}

TEST_F(DoctorFilesTest, PluginsThatOthersCanHaveWrittenAreNotTrusted) {
    std::filesystem::create_directory(folder / "plugins");
    const std::string library = write("plugins/a.so", "", 0775);
    const std::string named =
        write("named.json", R"({"protocolLibraries": ["plugins/a.so", "none.so"]})", 0640);
    const std::string ofFolder = write("folder.json", R"({"protocolLibraries": ["plugins"]})", 0640);
    const std::string doubt = library + " can be written by others than its owner (0775)";
    EXPECT_EQ(distrustOfPlugins(named), doubt);
    EXPECT_EQ(distrustOfPlugins(ofFolder), doubt);
    chmod(library.c_str(), 0755);
    EXPECT_EQ(distrustOfPlugins(named), "");
    EXPECT_EQ(distrustOfPlugins(ofFolder), "");
    write("b.so", "", 0775);
    EXPECT_NE(distrustOfPlugins(write("beside.json", "{}", 0640)), "");
}

TEST(DoctorDaemonTest, AnAnswerThatCannotBeReadIsAProblem) {
    expectProblem(only(diagnoseConfiguration("")), "no answer that can be read", "of one release");
    expectProblem(only(diagnoseConfiguration("[]")), "no answer that can be read", "of one release");
}

TEST(DoctorClockTest, AGoodClockIsGood) {
    EXPECT_EQ(only(diagnoseClock({NOW_MS, NOW_MS - 5, true, NOW_MS - 5000, NOW_MS - 4000})).kind, Kind::Ok);
    EXPECT_EQ(only(diagnoseClock({NOW_MS, NOW_MS + 60'000, std::nullopt, 0, 0})).kind, Kind::Ok);
}

TEST(DoctorClockTest, AClockBefore2024IsAProblem) {
    expectProblem(only(diagnoseClock({1'704'067'199'999, 0, true, 0, 0})),
                  "it is 2023-12-31T23:59:59.999Z, before 2024", "timedatectl");
    EXPECT_EQ(only(diagnoseClock({1'704'067'200'000, 0, true, 0, 0})).kind, Kind::Ok);
}

TEST(DoctorClockTest, StampsOfTheFutureAreAProblem) {
    expectProblem(only(diagnoseClock({NOW_MS, NOW_MS + 60'001, true, 0, 0})), "gone back by 60 s",
                  "timedatectl");
    expectProblem(only(diagnoseClock({NOW_MS, NOW_MS + 7'200'000, true, 0, 0})), "gone back by 2 h", "");
}

TEST(DoctorClockTest, AJumpForwardSinceTheDaemonBeganIsWorthANote) {
    const Diagnosis found = only(diagnoseClock({NOW_MS, 0, true, NOW_MS - 1000, NOW_MS - 3'601'000}));
    EXPECT_EQ(found.kind, Kind::Note);
    EXPECT_NE(found.detail.find("put forward by 60 min"), std::string::npos) << found.detail;
}

TEST(DoctorClockTest, AClockThatNothingKeepsRightIsWorthANote) {
    const Diagnosis found = only(diagnoseClock({NOW_MS, 0, false, 0, 0}));
    EXPECT_EQ(found, Diagnosis::note("clock", "nothing keeps it right", "timedatectl set-ntp true"));
}

TEST(DoctorClockTest, TheStartOfAProcessIsReadFromItsMark) {
    const std::int64_t started = startOfProcessMs(velk::common::ProcessMark::ofThisProcess(), NOW_MS);
    EXPECT_LE(started, NOW_MS);
    EXPECT_GT(started, NOW_MS - 3'600'000);
    EXPECT_EQ(startOfProcessMs("pid=1", NOW_MS), 0);
}

TEST(DoctorDiskTest, AFullDiskIsAProblem) {
    const double gib = 1024.0 * 1024.0 * 1024.0;
    EXPECT_EQ(diagnoseDisk({"store", "/var", gib, 0.5 * gib, 100, 50}).kind, Kind::Ok);
    EXPECT_EQ(diagnoseDisk({"store", "/var", gib, 0.5 * gib, 100, 50}).detail,
              "store: 512 MiB of 1.0 GiB free (50 %) at /var");
    EXPECT_EQ(diagnoseDisk({"store", "/var", gib, 0.09 * gib, 0, 0}).kind, Kind::Note);
    expectProblem(diagnoseDisk({"store", "/var", gib, 0.04 * gib, 0, 0}), "(4 %)", "make space");
    expectProblem(diagnoseDisk({"store", "/run", gib / 100, gib / 120, 0, 0}), "at /run", "make space");
}

TEST(DoctorDiskTest, ADiskWithoutInodesIsAProblem) {
    const double gib = 1024.0 * 1024.0 * 1024.0;
    expectProblem(diagnoseDisk({"history", "/var", gib, 0.5 * gib, 100, 4}), "4 % of the inodes",
                  "remove files");
    EXPECT_TRUE(diskOf("store", "/").has_value());
    EXPECT_FALSE(diskOf("store", "/nowhere/at/all").has_value());
}

tessapi::StoreHealth copied(std::uint64_t written) {
    tessapi::StoreHealth health;
    health.engine = "sqlite";
    health.file = tessapi::StoreHealth::File{"/run/velk/tess.db", 1024, 0, 1024, 1, 0};
    health.copy = tessapi::StoreHealth::Copy{};
    health.copy->path = "/var/lib/velk/tess.db";
    health.copy->bytesWritten = written;
    health.copy->lastMs = NOW_MS - 1000;
    return health;
}

TEST(DoctorWearTest, WhatIsWrittenAnHourIsHeldAgainstWhatAFlashBears) {
    constexpr std::uint64_t mib = 1024 * 1024;
    EXPECT_EQ(diagnoseWear(copied(30 * mib), 7200.0),
              Diagnosis::ok("wear", "30.0 MiB written in 2 h, 15.0 MiB an hour"));
    EXPECT_EQ(diagnoseWear(copied(31 * mib), 7200.0).kind, Kind::Note);
    expectProblem(diagnoseWear(copied(201 * mib), 7200.0), "100 MiB an hour", "keep=SECONDS");
}

TEST(DoctorWearTest, AShortTimeHasNoRateButHeavyWearShows) {
    constexpr std::uint64_t kib = 1024;
    EXPECT_EQ(diagnoseWear(copied(133 * kib), 4.0), Diagnosis::ok("wear", "133 KiB written in 4 s"));
    EXPECT_EQ(diagnoseWear(copied(3000 * kib), 60.0).kind, Kind::Note);
    expectProblem(diagnoseWear(copied(200 * 1024 * kib), 300.0), "200 MiB written in 5 min", "keep=SECONDS");
}

TEST_F(DoctorFilesTest, TheTimeOfCountingIsTheAgeOfTheFileThatIsWorkedOn) {
    struct timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::string file = write("tess.db", "", 0660);
    EXPECT_LT(secondsSinceMade(file, now.tv_sec * 1000), 60.0);
    EXPECT_GT(secondsSinceMade("/nowhere/at/all", now.tv_sec * 1000), 0.0) << "since the boot";
}

TEST(DoctorWearTest, AStoreThatIsWrittenThroughIsWorthANote) {
    tessapi::StoreHealth health = copied(0);
    health.copy.reset();
    EXPECT_EQ(diagnoseWear(health, 7200.0).kind, Kind::Note);
    health.file.reset();
    EXPECT_EQ(diagnoseWear(health, 7200.0).kind, Kind::Ok);
}

/// What the doctor says of a store that is seen like this, one look after the other, and then as the last.
Diagnosis queueOf(const std::vector<tessapi::StoreHealth>& looks, std::int64_t nowMs = NOW_MS) {
    velk::testing::FakeClock clock;
    std::size_t looked = 0;
    const auto look = [&] { return looks.at(std::min(looked++, looks.size() - 1)); };
    return only(diagnoseQueues(settledHealth(look, clock), nowMs));
}

tessapi::StoreHealth waiting(std::uint64_t changes, std::uint64_t copies) {
    tessapi::StoreHealth health = copied(0);
    health.copy->pendingChanges = changes;
    health.copy->copies = copies;
    return health;
}

TEST(DoctorQueueTest, ACopyThatKeepsUpIsGood) {
    EXPECT_EQ(queueOf({copied(0)}).kind, Kind::Ok);
    EXPECT_EQ(queueOf({tessapi::StoreHealth{}}), Diagnosis::ok("queue", "nothing waits"));
}

TEST(DoctorQueueTest, AChangeThatHasJustBeenMadeIsNoProblemHoweverOldTheLastCopyIs) {
    tessapi::StoreHealth quiet = waiting(1, 7);
    quiet.copy->lastMs = NOW_MS - 86'400'000;
    EXPECT_EQ(queueOf({quiet, quiet, waiting(0, 8)}).kind, Kind::Ok);
    EXPECT_EQ(queueOf({quiet, quiet, waiting(5, 8)}).kind, Kind::Ok) << "others came meanwhile";
}

TEST(DoctorQueueTest, WhatIsNotCopiedWhileItIsLookedAtIsAProblemWhateverTheClockSays) {
    for (const std::int64_t backMs : {0, 3'600'000, -3'600'000}) {
        expectProblem(queueOf({waiting(3, 7)}, NOW_MS - backMs), "3 changes wait for their copy",
                      "tess.db-keeper");
    }
}

TEST(DoctorQueueTest, TheDoctorLooksForThreeSecondsAtMostAndOnlyOnceWhenNothingWaits) {
    velk::testing::FakeClock clock;
    const auto begun = clock.now();
    EXPECT_TRUE(settledHealth([] { return waiting(3, 7); }, clock).isCopyStuck);
    EXPECT_EQ(clock.now() - begun, std::chrono::seconds{3});
    EXPECT_FALSE(settledHealth([] { return copied(0); }, clock).isCopyStuck);
    EXPECT_EQ(clock.now() - begun, std::chrono::seconds{3});
}

TEST(DoctorQueueTest, AStoreThatWasNeverCopiedIsToldAsThat) {
    tessapi::StoreHealth fresh = waiting(3, 0);
    fresh.copy->lastMs = 0;
    expectProblem(queueOf({fresh}), "none was made yet", "tess.db-keeper");
}

TEST(DoctorQueueTest, ACopyThatFailsIsAProblemAndTellsWhy) {
    tessapi::StoreHealth health = waiting(3, 7);
    health.copy->failure = "disk full";
    health.copy->failingSinceMs = NOW_MS - 60'000;
    expectProblem(queueOf({health}), ": disk full", "mend that");
}

TEST(DoctorQueueTest, OfAStoreOnAServerOtherLinesTell) {
    tessapi::StoreHealth health;
    health.engine = "redis";
    EXPECT_TRUE(diagnoseQueues({health, false}, NOW_MS).empty());
}

TEST(DoctorStoreTest, TheSchemaVersionsOfTheStoreAndOfTheProgramAreTold) {
    tessapi::StoreHealth health;
    health.engine = "sqlite";
    EXPECT_EQ(diagnoseEngine(health).detail, "sqlite");
    health.schemaVersion = 1;
    health.schemaOfEngine = 2;
    EXPECT_EQ(diagnoseEngine(health).detail, "sqlite, schema version 1 (of this program: 2)");
}

TEST(DoctorQueueTest, ALogThatGrowsIsAProblem) {
    tessapi::StoreHealth health;
    health.file = tessapi::StoreHealth::File{"/x", 0, (16U << 20U) + 1, 1024, 0, 0};
    expectProblem(queueOf({health}), "write-ahead log of 16.0 MiB", "who uses the store");
}

TEST(DoctorProgramTest, AProgramIsHeardOrItIsSaidWhyNot) {
    std::string failure;
    EXPECT_EQ(outputOf({"/bin/echo", "a b"}, std::chrono::seconds{20}, failure), "a b\n");
    EXPECT_EQ(failure, "");
    EXPECT_EQ(outputOf({"/nowhere/x"}, std::chrono::seconds{20}, failure), "");
    EXPECT_EQ(failure, "/nowhere/x: No such file or directory");
    EXPECT_EQ(outputOf({"/bin/sleep", "30"}, std::chrono::milliseconds{1}, failure), "");
    EXPECT_EQ(failure, "/bin/sleep has not ended in time");
}

} // namespace
} // namespace velk::cli
