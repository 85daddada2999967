#include "cli/Inquiry.h"
#include "cli/JournalEntry.h"
#include "platform/common/ProcessMark.h"
#include "platform/tessapi/StoreImage.h"
#include "platform/tessapi/TessAccessor.h"
#include "tests/cli/TessTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace velk::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Json = nlohmann::ordered_json;

/// `tess export`, `import`, `doctor` and what a shell asks, as programs and people meet them.
class WholeStoreTest : public test::TessTest {
protected:
    std::string file(const std::string& name) const { return (folder / name).string(); }

    static std::string contentOf(const std::string& path) {
        std::ifstream stream{path};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    void write(const std::string& name, const std::string& text) { std::ofstream{folder / name} << text; }

    /// The findings of `tess doctor --json` by one check.
    std::vector<Json> diagnosed(const std::string& what, std::vector<std::string> more = {}) {
        more.insert(more.begin(), {"doctor", "--json"});
        const int code = tess(more);
        const Json document = Json::parse(out);
        EXPECT_EQ(code, document["ok"] ? 0 : 1);
        std::vector<Json> found;
        for (const Json& finding : document["findings"]) {
            if (finding["what"] == what) {
                found.push_back(finding);
            }
        }
        return found;
    }

    Json one(const std::string& what, const std::vector<std::string>& more = {}) {
        const auto found = diagnosed(what, more);
        EXPECT_EQ(found.size(), 1U) << out;
        return found.empty() ? Json::object() : found.front();
    }

    void sayDaemon(const std::string& mark) {
        const auto device = sample.store->emplaceDevice(test::SampleStore::uuid("daemon"), 1, 0);
        auto& channels = sample.store->inbandAccessor();
        channels.setChannelCValue(channels.emplaceChannel(device, "Daemon.Process", false), qz::CValue{mark});
    }

    velk::testing::TemporaryDirectory folder;
};

TEST_F(WholeStoreTest, ExportAndImportAndExportGiveTheSameText) {
    sample.alarm(20, "Status.LowRuntime", "LOW");
    sample.set(20, "Status.LowRuntime", qz::CValue{true});
    EXPECT_EQ(tess({"export"}), 0);
    const std::string first = out;
    EXPECT_THAT(first, HasSubstr("{\"float32\": 230.1}"));
    write("store.json", first);
    const std::string copy = "sqlite:" + file("copy.db");
    EXPECT_EQ(tess({"--store", copy, "import", file("store.json")}), 0) << err;
    EXPECT_THAT(err, HasSubstr("has 5 devices, "));
    EXPECT_EQ(tess({"--store", copy, "export"}), 0) << err;
    EXPECT_EQ(out, first);
}

TEST_F(WholeStoreTest, OnlyTheMarkOfALivingDaemonIsNotTheSameAfterExportAndImport) {
    sayDaemon(velk::common::ProcessMark::ofThisProcess());
    sample.set(20, "Measure.Frequency", qz::CValue{50.0F});
    EXPECT_EQ(tess({"export", file("first.json")}), 0) << err;
    Json expected = Json::parse(contentOf(file("first.json")));
    std::int64_t newest = 0;
    for (const Json& channel : expected["channels"]) {
        newest = std::max(newest, channel["written"].get<std::int64_t>());
    }
    for (Json& channel : expected["channels"]) {
        if (channel["name"] == "Daemon.Process") {
            channel["value"] = {{"string", ""}};
            channel["written"] = newest;
            channel["changed"] = newest;
        }
    }
    const std::string copy = "sqlite:" + file("copy.db");
    EXPECT_EQ(tess({"--store", copy, "import", file("first.json")}), 0) << err;
    EXPECT_EQ(tess({"--store", copy, "export", file("second.json")}), 0) << err;
    EXPECT_EQ(Json::parse(contentOf(file("second.json"))), expected);
    EXPECT_NE(Json::parse(contentOf(file("first.json"))), expected);
    const std::string next = "sqlite:" + file("next.db");
    EXPECT_EQ(tess({"--store", next, "import", file("second.json")}), 0) << err;
    EXPECT_EQ(tess({"--store", next, "export"}), 0) << err;
    EXPECT_EQ(out, contentOf(file("second.json"))) << "without one all is the same";
}

TEST_F(WholeStoreTest, AnExportedFileIsForItsGroupAndThereAtOnce) {
    write("store.json", "before");
    if (geteuid() == 0) { // nobody else may give a folder to a group of which he is no member
        ASSERT_EQ(chown(folder.path().c_str(), static_cast<uid_t>(-1), 54321), 0);
    }
    EXPECT_EQ(tess({"export", file("store.json")}), 0) << err;
    EXPECT_EQ(out, "");
    EXPECT_THAT(err, HasSubstr("store.json: 5 devices, "));
    struct stat status {};
    ASSERT_EQ(stat(file("store.json").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0660U);
    struct stat around {};
    ASSERT_EQ(stat(folder.path().c_str(), &around), 0);
    EXPECT_EQ(status.st_gid, around.st_gid);
    EXPECT_THAT(contentOf(file("store.json")), HasSubstr("\"format\": \"velk-store\""));
    const std::filesystem::directory_iterator inside{folder.path()};
    EXPECT_EQ(std::distance(inside, {}), 1) << "nothing else is left there";
}

TEST_F(WholeStoreTest, WhatCannotBeWrittenOrReadIsSaid) {
    EXPECT_EQ(tess({"export", "/nowhere/store.json"}), 1);
    EXPECT_EQ(err, "tess: cannot write /nowhere/store.json: No such file or directory\n");
    EXPECT_EQ(tess({"import", "/nowhere/store.json"}), 1);
    EXPECT_EQ(err, "tess: cannot read /nowhere/store.json: No such file or directory\n");
    EXPECT_EQ(tess({"import", folder.path().string()}), 1);
    EXPECT_THAT(err, HasSubstr("Is a directory"));
}

TEST_F(WholeStoreTest, StandardOutputThatTakesNotAllIsSaid) {
    for (const char* command : {"export", "channels", "--json status"}) {
        const std::string line = std::string{VELK_BINARY_DIR "/bin/tess "} + command + " > /dev/full";
        velk::testing::ChildProcess shell{{"/bin/sh", "-c", line}, {"TESS_URL=" + sample.url()}};
        EXPECT_EQ(shell.finish(), 1) << command;
        EXPECT_EQ(shell.errors(), "tess: the output could not be written whole\n") << command;
    }
}

TEST_F(WholeStoreTest, ExportWritesThroughWhatIsNoRegularFile) {
    ASSERT_EQ(mkfifo(file("pipe").c_str(), 0600), 0);
    std::string heard;
    std::thread reader{[&] { heard = contentOf(file("pipe")); }};
    EXPECT_EQ(tess({"export", file("pipe")}), 0) << err;
    reader.join();
    EXPECT_TRUE(std::filesystem::is_fifo(file("pipe")));
    EXPECT_EQ(tess({"export"}), 0);
    EXPECT_EQ(heard, out);
    EXPECT_EQ(tess({"export", "-"}), 0);
    EXPECT_EQ(heard, out) << "the standard output";
    EXPECT_EQ(tess({"export", "/dev/stdout"}), 0) << "a pipe here";
    EXPECT_EQ(heard, out.substr(0, heard.size()));
    EXPECT_EQ(tess({"export", folder.path().string()}), 1);
    EXPECT_THAT(err, HasSubstr("Is a directory"));
}

TEST_F(WholeStoreTest, ExportToALinkLeavesTheLinkAndReplacesItsTarget) {
    std::filesystem::create_directory(file("kept"));
    std::filesystem::create_symlink("kept/store.json", file("link.json"));
    for (int round = 0; round < 2; ++round) { // without the target, and with it
        EXPECT_EQ(tess({"export", file("link.json")}), 0) << err;
        EXPECT_TRUE(std::filesystem::is_symlink(file("link.json")));
        EXPECT_THAT(contentOf(file("kept/store.json")), HasSubstr("velk-store"));
    }
}

TEST_F(WholeStoreTest, ExportToAFileAsJsonTellsWhatIsInIt) {
    EXPECT_EQ(tess({"--json", "export", file("store.json")}), 0) << err;
    EXPECT_GT(Json::parse(out)["channels"].get<int>(), 0);
    EXPECT_EQ(err, "");
}

TEST_F(WholeStoreTest, AStoreWithSomethingInItIsNotImportedInto) {
    EXPECT_EQ(tess({"export", file("store.json")}), 0);
    EXPECT_EQ(tess({"import", file("store.json")}), 1);
    EXPECT_THAT(err, HasSubstr("has something in it; nothing was imported. Name a new one: tess --store "
                               "sqlite:PATH import "));
}

TEST_F(WholeStoreTest, ImportNamesChannelsThatLoseTheirValue) {
    EXPECT_EQ(tess({"export", file("store.json")}), 0);
    std::filesystem::create_directory(file("catalogue.d"));
    write("catalogue.d/own.json", R"({"PowerDistribution.Measure.Voltage": {"type": "string"}})");
    EXPECT_EQ(tess({"--store", "sqlite:" + file("new.db"), "import", file("store.json")}), 0);
    EXPECT_THAT(err, HasSubstr("1 of them lose their value, as the catalogue here has another type: "
                               "PowerDistribution.Measure.Voltage (string, not float32)\n"));
}

TEST_F(WholeStoreTest, ABadDocumentMakesNoStore) {
    write("store.json", "{\"format\": \"velk-store\",\n \"version\": 7}");
    EXPECT_EQ(tess({"--store", "sqlite:" + file("new.db"), "import", file("store.json")}), 1);
    EXPECT_EQ(err, "tess: " + file("store.json") + ":2:13: expected version 1, not 7\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "new.db"));
}

TEST_F(WholeStoreTest, ADocumentIsReadFromTheStandardInputToo) {
    EXPECT_EQ(tess({"export"}), 0);
    const auto program = sample.start({"--store", "sqlite:" + file("new.db"), "--json", "import", "-"});
    program->write(out);
    EXPECT_EQ(program->finish(), 0) << program->errors();
    EXPECT_EQ(Json::parse(program->output())["devices"], 5);
}

TEST_F(WholeStoreTest, AStoreIsNotFilledFromWhatContradictsItself) {
    const auto empty = tessapi::TessAccessor::open("test", "memory:contradiction");
    tessapi::StoreImage image = sample.store->browser().image();
    image.content.channels.front().deviceId = 77;
    try {
        empty->browser().fill(image);
        FAIL() << "it was filled";
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(),
                     "store memory:contradiction cannot be filled: the device 77 is not there");
    }
    EXPECT_EQ(empty->browser().snapshot().devices.size(), 1U);
}

TEST_F(WholeStoreTest, AShellIsToldHowAPathGoesOn) {
    EXPECT_EQ(tess({"complete-paths", "path", ""}), 0);
    EXPECT_THAT(out, HasSubstr("Inputs.\n"));
    EXPECT_THAT(out, Not(HasSubstr("Daemon")));
    EXPECT_EQ(tess({"complete-paths", "path", "Inputs.1.Me"}), 0);
    EXPECT_EQ(out, "Inputs.1.Measure.\n");
    EXPECT_EQ(tess({"complete-paths", "setting", "Outlets."}), 0);
    EXPECT_EQ(out, "Outlets.1.\n");
    EXPECT_EQ(tess({"complete-paths", "part", "O"}), 0);
    EXPECT_EQ(out, "Outlets.\n");
    EXPECT_EQ(tess({"complete-paths", "action", "SwitchO", "Outlets.1"}), 0);
    EXPECT_EQ(out, "SwitchOff\nSwitchOn\n");
    EXPECT_EQ(tess({"complete-paths", "action", "", "."}), 0);
    EXPECT_EQ(out, "StartTest\nSwitchOff\n");
}

TEST_F(WholeStoreTest, AShellIsToldNothingWhenAnythingFails) {
    for (const auto& words :
         {std::vector<std::string>{"--store", "sqlite:/nowhere/x.db", "complete-paths", "path"},
          {"--store", "nonsense", "complete-paths", "path", "I"},
          {"complete-paths", "action", "", "Nothing.7"}}) {
        EXPECT_EQ(tess(words), 0);
        EXPECT_EQ(out, "");
        EXPECT_EQ(err, "");
    }
}

TEST_F(WholeStoreTest, BashCompletesPathsAndActionsOfTheStore) {
    const std::string tessProgram = VELK_BINARY_DIR "/bin/tess";
    const std::string script =
        "source <(" + tessProgram + " completion bash); compopt() { :; }\n" + "try() { COMP_WORDS=(" +
        tessProgram + " \"$@\"); COMP_CWORD=$#; _tess " + tessProgram +
        "; echo ${COMPREPLY[*]}; }\n"
        "try get Outlets.1.Sett; try do Outlets.1 SwitchOn; try set O; try get \"'Inputs.1.M\"\n";
    velk::testing::ChildProcess bash{{"/bin/bash", "-c", script}, {"TESS_URL=" + sample.url()}};
    EXPECT_EQ(bash.finish(), 0);
    EXPECT_EQ(bash.output(), "Outlets.1.Setting.\nSwitchOn\nOutlets.\nInputs.1.Measure.\n");
    EXPECT_EQ(bash.errors(), "");
}

TEST_F(WholeStoreTest, DoctorLooksAtEverythingInItsOrder) {
    tess({"doctor", "--json"});
    std::vector<std::string> order;
    const Json document = Json::parse(out);
    for (const Json& finding : document["findings"]) {
        const std::string what = finding["what"];
        if (order.empty() || order.back() != what) {
            order.push_back(what);
        }
    }
    EXPECT_EQ(order, (std::vector<std::string>{"store", "engine", "content", "users", "permissions",
                                               "catalogue", "configuration", "daemon", "communication",
                                               "clock", "disk", "wear", "queue"}));
    EXPECT_EQ(one("store")["detail"], sample.url() + " (TESS_URL)");
    EXPECT_EQ(one("users")["state"], "ok");
    EXPECT_THAT(one("users")["detail"].get<std::string>(), HasSubstr("cli_program_test (process "));
}

TEST_F(WholeStoreTest, DoctorSaysWhatToDoBelowTheProblem) {
    EXPECT_EQ(tess({"--store", "sqlite:/nowhere/x.db", "doctor"}), 1);
    EXPECT_THAT(out, HasSubstr("problem  store"));
    EXPECT_THAT(out, HasSubstr("there is no store"));
    EXPECT_THAT(out, HasSubstr("\n                        -> is powerdistributiond running"));
    EXPECT_EQ(err, "");
    EXPECT_EQ(tess({"--store", "nonsense", "doctor"}), 1);
    EXPECT_THAT(out, HasSubstr("problem  store"));
}

TEST_F(WholeStoreTest, DoctorTellsWhatAFileIsThatIsNoStore) {
    write("x.db", std::string(4096, 'x'));
    EXPECT_EQ(tess({"--store", "sqlite:" + file("x.db"), "doctor"}), 1);
    EXPECT_THAT(out, HasSubstr("problem  store"));
    EXPECT_THAT(out, HasSubstr("x.db"));
    EXPECT_THAT(out, HasSubstr("-> "));
}

TEST_F(WholeStoreTest, DoctorTellsWhetherTheDaemonIsAtWork) {
    EXPECT_EQ(one("daemon")["state"], "problem");
    sayDaemon(velk::common::ProcessMark::ofThisProcess());
    EXPECT_EQ(one("daemon")["state"], "ok");
    EXPECT_EQ(one("communication")["state"], "ok");
    sample.connect(false);
    EXPECT_EQ(one("communication")["state"], "problem");
    sayDaemon("");
    EXPECT_THAT(one("daemon")["detail"].get<std::string>(), HasSubstr("nobody looks at the device since"));
    EXPECT_EQ(one("communication")["state"], "note");
    sayDaemon("pid=1 start=1 boot=none space=none");
    EXPECT_THAT(one("daemon")["detail"].get<std::string>(), HasSubstr("has ended without a word"));
}

TEST_F(WholeStoreTest, ImportedStoreIsWatchedByNobodyEvenWhileTheDaemonOfTheOtherOneLives) {
    sayDaemon(velk::common::ProcessMark::ofThisProcess());
    EXPECT_EQ(tess({"export", file("store.json")}), 0);
    const std::string copy = "sqlite:" + file("copy.db");
    EXPECT_EQ(tess({"--store", copy, "import", file("store.json")}), 0) << err;
    EXPECT_EQ(tess({"--store", copy, "status"}), 0);
    EXPECT_THAT(out, HasSubstr("not watched: the daemon is not running"));
    EXPECT_THAT(one("daemon", {"--store", copy})["detail"].get<std::string>(),
                HasSubstr("nobody looks at the device since"));
    EXPECT_EQ(one("daemon")["state"], "ok") << "of the store that was exported";
}

TEST_F(WholeStoreTest, MarkOfAnotherMachineIsOfNoLivingDaemonInAStoreOfThisMachine) {
    sayDaemon("pid=1 start=1 boot=none space=none machine=11111111-2222-3333-4444-555555555555");
    EXPECT_EQ(tess({"status"}), 0);
    EXPECT_THAT(out, HasSubstr("not watched: the daemon is not running"));
    EXPECT_THAT(one("daemon")["detail"].get<std::string>(), HasSubstr("has ended without a word"));
}

TEST_F(WholeStoreTest, DoctorFindsADaemonThatIsThereAndSilent) {
    sayDaemon(velk::common::ProcessMark::ofThisProcess());
    const auto device = sample.store->emplaceDevice(JournalEntry::deviceUuid(), 1, 0);
    for (const char* channel : {Inquiry::REQUEST, Inquiry::ANSWER}) {
        sample.store->inbandAccessor().emplaceChannel(device, channel, false);
    }
    const Json finding = one("daemon");
    EXPECT_EQ(finding["state"], "problem");
    EXPECT_THAT(finding["detail"].get<std::string>(), HasSubstr("does not answer"));
    EXPECT_THAT(finding["advice"].get<std::string>(), HasSubstr("it hangs"));
}

TEST_F(WholeStoreTest, DoctorDoesNotRunTheCheckForAProcessThatTheStoreMerelyNames) {
    write("velk.json", R"({"protocolLibraries": ["a.so"]})");
    velk::testing::ChildProcess liar{
        {"/bin/sh", "-c", "echo up; read line", "sh", "--config", file("velk.json")}};
    ASSERT_TRUE(liar.awaitOutput("up"));
    sayDaemon("pid=" + std::to_string(liar.pid()) + " "); // as one that cannot be told from here
    const Json finding = one("configuration");
    EXPECT_EQ(finding["state"], "note");
    EXPECT_THAT(finding["detail"].get<std::string>(), HasSubstr("is not " VELK_BINARY_DIR));
    EXPECT_TRUE(diagnosed("plug-in").empty());
    liar.closeInput();
    EXPECT_EQ(liar.finish(), 1) << "read found the end";
}

TEST_F(WholeStoreTest, DoctorTellsOfAFolderInsteadOfAConfigurationAndGoesOn) {
    const Json finding = one("configuration", {"--config", folder.path().string()});
    EXPECT_EQ(finding["state"], "problem");
    EXPECT_THAT(finding["detail"].get<std::string>(), HasSubstr("is a folder"));
    EXPECT_EQ(one("clock", {"--config", folder.path().string()})["what"], "clock");
}

TEST_F(WholeStoreTest, DoctorFindsABadFileOfTheCatalogue) {
    const std::filesystem::path store{sample.url().substr(7)};
    std::filesystem::create_directory(store.parent_path() / "catalogue.d");
    std::ofstream{store.parent_path() / "catalogue.d" / "own.json"} << "{\"A\": {\"type\": \"many\"}}";
    EXPECT_EQ(one("catalogue")["state"], "problem");
    EXPECT_THAT(one("catalogue")["detail"].get<std::string>(), HasSubstr("own.json:1:"));
}

TEST_F(WholeStoreTest, DoctorFindsAStoreThatOthersMayRead) {
    chmod(sample.url().substr(7).c_str(), 0664);
    EXPECT_EQ(one("permissions")["state"], "problem");
    EXPECT_THAT(one("permissions")["advice"].get<std::string>(), HasSubstr("chmod o-rwx"));
}

TEST_F(WholeStoreTest, DoctorHasTheDaemonCheckItsConfigurationAndItsPlugins) {
    std::filesystem::copy_file(VELK_BINARY_DIR "/tests/daemon-plugins/libchecked_plugin.so", folder / "a.so");
    std::filesystem::copy_file(VELK_BINARY_DIR "/tests/daemon-plugins/libother_library.so", folder / "b.so");
    write("c.so", "no library");
    write("velk.json", R"({"maxThreads": 0, "protocolLibraries": ["a.so", "b.so", "c.so"]})");
    const auto plugins = diagnosed("plug-in", {"--config", file("velk.json")});
    ASSERT_EQ(plugins.size(), 3U) << out;
    EXPECT_EQ(plugins[0]["detail"],
              file("a.so") + ": declined: its entry gives nothing with this configuration");
    EXPECT_EQ(plugins[1]["detail"], file("b.so") + ": no plug-in: it has no velkProtocolLibrary");
    EXPECT_EQ(plugins[2]["state"], "problem");
    EXPECT_THAT(plugins[2]["detail"].get<std::string>(), HasSubstr("c.so: not loaded: "));
    const auto faults = diagnosed("configuration", {"--config", file("velk.json")});
    EXPECT_THAT(faults.front()["detail"].get<std::string>(), HasSubstr("velk.json:1:16: \"maxThreads\""));
}

TEST_F(WholeStoreTest, DoctorFindsAPasswordThatOthersMayRead) {
    write("upsd.pass", "secret\n");
    chmod((folder / "upsd.pass").c_str(), 0644);
    write("velk.json", R"({"nut": {"passwordFile": "upsd.pass"}})");
    EXPECT_EQ(one("secrets", {"--config", file("velk.json")})["state"], "problem");
}

} // namespace
} // namespace velk::cli
