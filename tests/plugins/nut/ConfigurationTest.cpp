#include "plugins/nut/NutConfiguration.h"
#include "testing/SecretText.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

namespace velk::nut {
namespace {

class NutConfigurationTest : public ::testing::Test {
protected:
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream{folder / name} << text;
        return (folder / name).string();
    }

    std::optional<NutConfiguration> load(const std::string& text) const {
        return NutConfiguration::load(write("velk.json", text));
    }

    /// The failure without the folder.
    std::string failure(const std::string& text) const {
        try {
            load(text);
            return "none";
        } catch (const std::runtime_error& failure) {
            const std::string what = failure.what();
            const std::string begin = folder.path().string() + "/";
            return what.rfind(begin, 0) == 0 ? what.substr(begin.size()) : what;
        }
    }

    velk::testing::TemporaryDirectory folder;
};

TEST_F(NutConfigurationTest, EverythingIsRead) {
    velk::testing::writeSecret(folder / "upsd.pass", "secret\nsecond line\n");
    const auto configuration =
        load(R"({"maxThreads": 5, "nut": {"host": "10.0.0.7", "port": 13493, "ups": "rack3", "user": "velk",
                 "passwordFile": "upsd.pass", "pollIntervalMs": 500, "alarmFile": "alarms.json"}})");
    ASSERT_TRUE(configuration);
    EXPECT_EQ(configuration->deviceName(), "rack3@10.0.0.7:13493");
    EXPECT_EQ(configuration->user, "velk");
    EXPECT_EQ(configuration->password, "secret");
    EXPECT_EQ(configuration->pollInterval, std::chrono::milliseconds{500});
    EXPECT_EQ(configuration->alarmFile, (folder / "alarms.json").string());
}

TEST_F(NutConfigurationTest, OnlyTheNameOfTheDeviceIsNeeded) {
    const auto configuration = load(R"({"nut": {"ups": "u1"}})");
    ASSERT_TRUE(configuration);
    EXPECT_EQ(configuration->deviceName(), "u1@127.0.0.1:3493");
    EXPECT_EQ(configuration->pollInterval, std::chrono::seconds{1});
    EXPECT_EQ(configuration->user, "");
    EXPECT_EQ(configuration->alarmFile, "");
}

TEST_F(NutConfigurationTest, FileWithoutTheMemberIsNotForThisPlugin) {
    EXPECT_FALSE(load(R"({"maxThreads": 5})"));
    EXPECT_FALSE(NutConfiguration::load(folder.path().string()));
    EXPECT_FALSE(NutConfiguration::load((folder / "missing.json").string()));
}

TEST_F(NutConfigurationTest, MistakeIsToldWithItsPlace) {
    EXPECT_EQ(failure("{\n  \"nut\": {\"ups\": \"u1\",\n    \"port\": 70000}}"),
              "velk.json:3:13: \"port\" is 70000, expected 1 to 65535");
    EXPECT_EQ(failure("{\"nut\": {\"ups\": \"u1\", \"prot\": 1}}"),
              "velk.json:1:31: \"prot\" is unknown, expected \"host\", \"port\", \"ups\", \"user\", "
              "\"passwordFile\", \"pollIntervalMs\" or \"alarmFile\"");
    EXPECT_EQ(failure("{\"nut\": {}}"),
              "velk.json:1:9: \"nut\" needs a member \"ups\", the device's name at the server");
    EXPECT_EQ(failure("{\"nut\": 3}"), "velk.json:1:9: \"nut\" must be an object");
    EXPECT_EQ(failure("{\"nut\": {\"ups\": \"\"}}"), "velk.json:1:17: \"ups\" is empty");
    EXPECT_EQ(failure("{\"nut\": {\"ups\": \"u 1\"}}"),
              "velk.json:1:17: \"ups\" must not hold blanks, quotes, backslashes or '#'");
    EXPECT_EQ(failure("{\"nut\": {\"ups\": \"u1\", \"pollIntervalMs\": 60000}}"),
              "velk.json:1:41: \"pollIntervalMs\" is 60000, expected 100 to 30000");
    EXPECT_EQ(failure("{\"nut\": {\"ups\": \"u1\", \"user\": \"velk\"}}"),
              "velk.json:1:9: \"nut\" needs both of \"user\" and \"passwordFile\" or none");
}

TEST_F(NutConfigurationTest, MalformedFileIsToldWithItsPlace) {
    EXPECT_EQ(failure("{\"nut\": ").rfind("velk.json:1:", 0), 0U);
}

TEST_F(NutConfigurationTest, PasswordFileMustHoldAPassword) {
    const std::string text = R"({"nut": {"ups": "u1", "user": "velk", "passwordFile": "upsd.pass"}})";
    const std::string file = (folder / "upsd.pass").string();
    const std::string place = "velk.json:1:55: \"passwordFile\" ";
    EXPECT_EQ(failure(text),
              place + "gives no password: " + file + " cannot be read: No such file or directory");
    velk::testing::writeSecret(file, "\n");
    EXPECT_EQ(failure(text), place + "gives no password: " + file + " is empty in its first line");
    velk::testing::writeSecret(file, "sec#ret\n");
    EXPECT_EQ(failure(text),
              place + "names " + file + ", whose first line is no password that the server takes");
    velk::testing::writeSecret(file, "secret\r\n");
    EXPECT_EQ(load(text)->password, "secret");
}

TEST_F(NutConfigurationTest, PasswordThatEverybodyCanReadIsRefused) {
    const std::string text = R"({"nut": {"ups": "u1", "user": "velk", "passwordFile": "upsd.pass"}})";
    const std::string file = write("upsd.pass", "secret\n");
    std::filesystem::permissions(file, std::filesystem::perms{0644});
    EXPECT_EQ(failure(text), "velk.json:1:55: \"passwordFile\" gives no password: " + file +
                                 " can be read by everybody (mode 0644); chmod o= makes it usable");
}

} // namespace
} // namespace velk::nut
