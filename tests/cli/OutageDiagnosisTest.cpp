#include "cli/doctor/OutageDiagnosis.h"

#include "cli/TimeText.h"

#include <gtest/gtest.h>

namespace velk::cli {
namespace {

using Kind = Diagnosis::Kind;
using tessapi::StoreOutage;
using tessapi::StoreOutages;

constexpr std::int64_t LOOKED_MS = 1'780'000'000'000;
constexpr std::int64_t AWAY_MS = LOOKED_MS - 180'000;

StoreOutage outage() {
    return {"redis://store.example/berlin", 4091, AWAY_MS, LOOKED_MS - 900, 412, 300, 10'000, 0};
}

Diagnoses diagnose(const StoreOutages& found, bool isReached = false) {
    return diagnoseOutages(found, isReached, LOOKED_MS,
                           [](int process) { return process == 4091 ? "powerdistributiond" : ""; });
}

/// The only one, of the daemon's outage.
Diagnosis diagnose(const StoreOutage& one) {
    const Diagnoses found = diagnose(StoreOutages{{"/run/velk"}, {one}, {}});
    EXPECT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().what, "queue");
    return found.front();
}

TEST(OutageDiagnosisTest, ItIsToldWhatWaitsSinceWhenForWhichStoreAndWhatIsKept) {
    const Diagnosis found = diagnose(outage());
    EXPECT_EQ(found.kind, Kind::Problem);
    EXPECT_EQ(found.detail,
              "powerdistributiond (process 4091) keeps 412 values of 300 channels for "
              "redis://store.example/berlin, whose server it misses since " +
                  timeAndAge(AWAY_MS, LOOKED_MS) +
                  ": of a measured channel the newest value, of actions and settings every one, up to 10000");
    EXPECT_NE(found.advice.find("start the server"), std::string::npos);
}

TEST(OutageDiagnosisTest, OneValueOfOneChannelAndNoneAreCountedInWords) {
    StoreOutage one = outage();
    one.values = 1;
    one.channels = 1;
    EXPECT_NE(diagnose(one).detail.find("keeps 1 value of 1 channel for"), std::string::npos);
    one.values = 0;
    one.channels = 0;
    EXPECT_NE(diagnose(one).detail.find("keeps no value yet for"), std::string::npos);
}

TEST(OutageDiagnosisTest, ValuesThatWereTooManyAreTold) {
    StoreOutage full = outage();
    full.givenUp = 17;
    EXPECT_NE(diagnose(full).detail.find("; 17 values were too many and are given up"), std::string::npos);
}

TEST(OutageDiagnosisTest, ProgramThatHasNotSaidSoForTenSecondsIsTold) {
    StoreOutage late = outage();
    late.saidMs = LOOKED_MS - 10'000;
    EXPECT_EQ(diagnose(late).detail.find("nothing since"), std::string::npos);
    late.saidMs = LOOKED_MS - 40'000;
    EXPECT_NE(diagnose(late).detail.find("; it has said so 40 s ago, and nothing since"), std::string::npos);
}

TEST(OutageDiagnosisTest, ProcessWithoutANameIsToldByItsNumber) {
    StoreOutage other = outage();
    other.process = 77;
    EXPECT_EQ(diagnose(other).detail.find("process 77 keeps 412 values"), 0U);
}

TEST(OutageDiagnosisTest, FileThatCannotBeReliedOnIsToldAndIsNoProblem) {
    const Diagnoses found = diagnose(
        StoreOutages{{"/run/velk"}, {outage()}, {"/run/velk/outage-0123456789abcdef: it belongs to alice"}});
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[1], Diagnosis::note("queue",
                                        "/run/velk/outage-0123456789abcdef: it belongs to alice; what is in "
                                        "it does not count",
                                        "see who made it, and remove it"));
}

TEST(OutageDiagnosisTest, WithoutANoteAServerThatIsReachedIsWellAndOneThatIsNotIsNot) {
    const StoreOutages none{{"/run/velk", "/run/user/7/velk"}, {}, {}};
    EXPECT_EQ(diagnose(none, true),
              Diagnoses{Diagnosis::ok("queue", "no program of this machine says that values wait (/run/velk, "
                                               "/run/user/7/velk)")});
    const Diagnoses away = diagnose(none, false);
    ASSERT_EQ(away.size(), 1U);
    EXPECT_EQ(away.front().kind, Kind::Note);
    EXPECT_NE(away.front().advice.find("where the daemon runs"), std::string::npos);
}

TEST(OutageDiagnosisTest, WithoutAFolderItIsSaidWhereTheDaemonTells) {
    const Diagnoses found = diagnose(StoreOutages{}, true);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().kind, Kind::Note);
    EXPECT_NE(found.front().detail.find("cannot be seen from here"), std::string::npos);
    EXPECT_NE(found.front().advice.find("journalctl -u powerdistributiond"), std::string::npos);
}

} // namespace
} // namespace velk::cli
