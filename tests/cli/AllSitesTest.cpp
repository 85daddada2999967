#include "cli/AllSitesCommand.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/ChildProcess.h"
#include "testing/RedisServer.h"
#include "tests/cli/SnapshotBuilder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;
using Json = nlohmann::ordered_json;

/// `tess --all-sites status` on stores that a test has built by hand.
class AllSitesTest : public ::testing::Test {
protected:
    AllSitesTest() {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    SnapshotBuilder& site(const std::string& name, const std::string& product, const std::string& serial) {
        SnapshotBuilder& made = stores[name];
        made.attribute(20, tessapi::DeviceAttribute::productName, product);
        made.attribute(20, tessapi::DeviceAttribute::serialNumber, serial);
        return made;
    }

    static void alarm(SnapshotBuilder& store, const std::string& name, tessapi::LevelAlarm level) {
        tessapi::ActiveAlarm active;
        active.level = level;
        store.channel(20, name, qz::CValue{true}).activeAlarms.push_back(active);
    }

    ExitCode run(bool json = false) {
        std::vector<std::string> names;
        for (const auto& entry : stores) {
            names.push_back(entry.first);
        }
        names.insert(names.end(), unreadable.begin(), unreadable.end());
        const auto look = [this](const std::string& name) {
            const auto found = stores.find(name);
            if (found == stores.end()) {
                throw std::runtime_error{"redis://node/" + name + ": no answer"};
            }
            return found->second.build();
        };
        out.str("");
        err.str("");
        return runAllSites({names, failures, look, out, err, json, Style{false}, SnapshotBuilder::NOW_MS});
    }

    std::map<std::string, SnapshotBuilder> stores;
    std::vector<std::string> unreadable;
    std::vector<std::string> failures;
    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(AllSitesTest, EachSiteHasALineWithDeviceCommunicationAlarmsAndTheAgeOfTheNewestValue) {
    alarm(site("berlin", "Line 1500", "L-1"), "Status.LowRuntime", tessapi::LevelAlarm::warning);
    alarm(stores["berlin"], "Status.Overload", tessapi::LevelAlarm::critical);
    alarm(stores["berlin"], "Status.InternalFailure", tessapi::LevelAlarm::critical);
    site("zagreb", "Modular 40", "M-7").change(20, "CommunicationStatus.State", qz::CValue{3U});
    stores["zagreb"].channel(20, "Measure.Voltage", qz::CValue{230.0F});
    EXPECT_EQ(run(), ExitCode::Done);
    // clang-format off
    EXPECT_EQ(out.str(),
        "SITE    DEVICE      SERIAL  COMMUNICATION                                     ALARMS                 LAST VALUE\n"
        "berlin  Line 1500   L-1     connected since 2023-11-14 21:13:20 (60 min ago)  2 critical, 1 warning  3 min ago\n"
        "zagreb  Modular 40  M-7     lost since 2023-11-14 21:13:20 (60 min ago)       none (last known)      3 min ago\n");
    // clang-format on
    EXPECT_EQ(err.str(), "");
}

TEST_F(AllSitesTest, NotesOfTheDaemonAreNoValuesOfTheDevice) {
    site("berlin", "Line 1500", "L-1").device(1000, 1, "Daemon");
    stores["berlin"].daemonProcess(1000, "");
    stores["berlin"].record(5001).writtenMs = SnapshotBuilder::NOW_MS;
    stores["berlin"].channel(20, "Measure.Voltage", qz::CValue{230.0F});
    run();
    EXPECT_NE(out.str().find("3 min ago\n"), std::string::npos) << out.str();
}

TEST_F(AllSitesTest, CommunicationStatesAreNoValuesOfTheDevice) {
    SnapshotBuilder& berlin = site("berlin", "Line 1500", "L-1");
    berlin.channel(20, "Measure.Voltage", qz::CValue{230.0F});
    berlin.channel(20, "CommunicationStatus.Counter", qz::CValue{7U}).writtenMs = SnapshotBuilder::NOW_MS;
    run();
    EXPECT_NE(out.str().find("3 min ago\n"), std::string::npos) << out.str();
}

TEST_F(AllSitesTest, SiteThatNobodyHasWrittenIsShownAsSuch) {
    stores["empty"].record(5000).initialized = false;
    stores["empty"].record(5000).value = qz::CValue{};
    stores["empty"].record(5000).writtenMs = 0;
    stores["empty"].record(5000).changedMs = 0;
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_NE(out.str().find("unknown        none (last known)  never\n"), std::string::npos) << out.str();
}

TEST_F(AllSitesTest, UnreadableSiteIsNamedAndTheOthersAreShown) {
    site("berlin", "Line 1500", "L-1");
    unreadable = {"paris"};
    EXPECT_EQ(run(), ExitCode::StoreUnreachable);
    EXPECT_NE(out.str().find("paris                      store cannot be read\n"), std::string::npos)
        << out.str();
    EXPECT_NE(out.str().find("berlin  Line 1500"), std::string::npos);
    EXPECT_EQ(err.str(), "tess: paris: redis://node/paris: no answer\n");
}

TEST_F(AllSitesTest, PartOfTheDeploymentThatDoesNotAnswerIsToldApart) {
    site("berlin", "Line 1500", "L-1");
    failures = {"127.0.0.1:7001: connection refused"};
    EXPECT_EQ(run(), ExitCode::StoreUnreachable);
    EXPECT_EQ(err.str(), "tess: sites may be missing: 127.0.0.1:7001: connection refused\n");
}

TEST_F(AllSitesTest, DeploymentWithoutSitesSaysSo) {
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(err.str(), "tess: the deployment has no sites\n");
    run(true);
    EXPECT_EQ(Json::parse(out.str()), Json::array());
}

TEST_F(AllSitesTest, HundredsOfSitesKeepTheirOrder) {
    for (int i = 100; i < 300; ++i) {
        site("s" + std::to_string(i), "P" + std::to_string(i), "");
    }
    EXPECT_EQ(run(true), ExitCode::Done);
    const Json rows = Json::parse(out.str());
    ASSERT_EQ(rows.size(), 200U);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i]["site"], "s" + std::to_string(100 + i));
        EXPECT_EQ(rows[i]["device"]["productName"], "P" + std::to_string(100 + i));
    }
}

TEST_F(AllSitesTest, ProgramsGetObjectsWithNullForWhatIsNotKnown) {
    alarm(site("berlin", "Line 1500", ""), "Status.Overload", tessapi::LevelAlarm::critical);
    unreadable = {"paris"};
    EXPECT_EQ(run(true), ExitCode::StoreUnreachable);
    EXPECT_EQ(Json::parse(out.str()), Json::parse(R"([
        {"site": "berlin", "device": {"productName": "Line 1500", "serialNumber": null},
         "communication": {"connected": true, "state": "connected", "since": "2023-11-14T21:13:20.000Z"},
         "alarms": {"level": "critical", "count": 1}, "lastValue": "2023-11-14T22:10:20.000Z",
         "error": null},
        {"site": "paris", "device": null, "communication": null, "alarms": null, "lastValue": null,
         "error": "redis://node/paris: no answer"}])"));
}

/// The real `tess` on a real server.
class AllSitesProgramTest : public ::testing::Test {
protected:
    void makeSite(const std::string& name, const std::string& product) const {
        const auto store = tessapi::TessAccessor::open("test", deployment + "/" + name);
        const auto uuid = [](const char* text) {
            return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, text};
        };
        store->emplaceDevice(uuid("equipment"), 1, 2);
        store->emplaceDevice(uuid("device"), 2, 20);
        tessapi::InBandAccessor& inband = store->inbandAccessor();
        inband.setDeviceAttribute(20, tessapi::DeviceAttribute::productName, product);
        const std::uint64_t state =
            inband.emplaceChannel(20, "PowerDistribution.CommunicationStatus.State", false);
        inband.setChannelCValue(state, qz::CValue{2U});
    }

    int tess(std::vector<std::string> arguments, const std::string& url) {
        arguments.insert(arguments.begin(), VELK_BINARY_DIR "/bin/tess");
        velk::testing::ChildProcess program{arguments, {"TESS_URL=" + url}};
        const int code = program.finish();
        out = program.output();
        err = program.errors();
        return code;
    }

    velk::testing::RedisServer server;
    const std::string deployment{"redis://" + server.address()};
    std::string out;
    std::string err;
};

TEST_F(AllSitesProgramTest, LooksAcrossTheDeploymentOfTheUrlWithASiteInItOrWithout) {
    makeSite("zagreb", "Modular 40");
    makeSite("berlin", "Line 1500");
    for (const std::string& url : {deployment, deployment + "/berlin"}) {
        EXPECT_EQ(tess({"--all-sites", "status"}, url), 0) << err;
        EXPECT_NE(out.find("berlin  Line 1500           connected since "), std::string::npos) << out;
        EXPECT_NE(out.find("zagreb  Modular 40          connected since "), std::string::npos) << out;
        EXPECT_LT(out.find("berlin"), out.find("zagreb"));
        EXPECT_EQ(err, "");
    }
}

TEST_F(AllSitesProgramTest, SiteThatIsNoStoreIsNamedBesideTheOthers) {
    makeSite("berlin", "Line 1500");
    server.command({"HSET", "tess:{paris}:site", "color", "red"});
    EXPECT_EQ(tess({"--all-sites", "status", "--json"}, deployment), 5);
    EXPECT_EQ(Json::parse(out).size(), 2U);
    EXPECT_EQ(err.rfind("tess: paris: store " + deployment + "/paris: ", 0), 0U) << err;
}

TEST_F(AllSitesProgramTest, ServerThatDoesNotAnswerIsNamed) {
    server.stop();
    EXPECT_EQ(tess({"--all-sites", "status"}, deployment), 5);
    EXPECT_EQ(err.rfind("tess: store " + deployment + ": ", 0), 0U) << err;
    EXPECT_NE(err.find("onnection refused"), std::string::npos) << err;
}

TEST_F(AllSitesProgramTest, UrlOfASingleStoreIsRefusedByWhoGaveIt) {
    EXPECT_EQ(tess({"--all-sites", "status"}, "sqlite:/tmp/tess.db"), 3);
    EXPECT_EQ(err, "tess: \"sqlite:/tmp/tess.db\" is a single store; many are on a server such as "
                   "redis://HOST[:PORT]\n");
    EXPECT_EQ(tess({"--all-sites", "--store", "sqlite:/tmp/tess.db", "status"}, deployment), 2);
}

TEST_F(AllSitesProgramTest, OtherCommandsLookAtOneSiteOnly) {
    EXPECT_EQ(tess({"--all-sites", "alarms"}, deployment), 2);
    EXPECT_EQ(err, "tess: --all-sites goes with status alone\n");
}

} // namespace
} // namespace velk::cli
