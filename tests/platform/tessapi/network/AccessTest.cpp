#include "testing/RedisServer.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/network/NetworkClient.h"

#include <boost/system/system_error.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tessapi::network {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using velk::testing::Certificate;
using velk::testing::RedisServer;
using velk::testing::TemporaryDirectory;

/// Users, passwords and certificates of real servers, and what is said when they do not fit.
class AccessTest : public ::testing::Test {
protected:
    /// A file that only its owner can read.
    std::string secret(const std::string& text) const {
        const auto file = folder / "password";
        std::ofstream{file} << text << "\n";
        std::filesystem::permissions(file, std::filesystem::perms::owner_read |
                                               std::filesystem::perms::owner_write);
        return file.string();
    }

    /// Writes a value and reads it again.
    static void expectToWork(const std::string& url) {
        NetworkClient client{url, true, NetworkClient::PATIENT};
        const std::uint64_t channel = client.channel(MEASURE);
        client.set(channel, 230.0F);
        EXPECT_EQ(client.channels().getChannelCValue(channel), qz::CValue{230.0F});
    }

    /// What is said when the store cannot be opened; always with its name.
    static std::string failureOf(const std::string& url,
                                 std::chrono::milliseconds patience = NetworkClient::PATIENT) {
        try {
            const NetworkClient client{url, true, patience};
        } catch (const boost::system::system_error& failure) {
            EXPECT_THAT(failure.what(), HasSubstr(url));
            return failure.what();
        }
        ADD_FAILURE() << "it opened the store";
        return {};
    }

    TemporaryDirectory folder;
};

TEST_F(AccessTest, UserAndPasswordFromAFileOpenTheStore) {
    const RedisServer server{{.user = "velk", .password = "open sesame"}};
    expectToWork("redis://velk@" + server.address() + "/berlin?password-file=" + secret("open sesame"));
}

TEST_F(AccessTest, PasswordOfTheDefaultUserNeedsNoName) {
    const RedisServer server{{.password = "open sesame"}};
    expectToWork("redis://" + server.address() + "/berlin?password-file=" + secret("open sesame"));
}

TEST_F(AccessTest, UnixSocketOpensTheStore) {
    const RedisServer server;
    expectToWork("redis+unix://" + server.socket().string() + "/berlin");
}

TEST_F(AccessTest, WrongPasswordIsToldAndNotShown) {
    const RedisServer server{{.user = "velk", .password = "open sesame"}};
    const std::string said =
        failureOf("redis://velk@" + server.address() + "/berlin?password-file=" + secret("open barley"));
    EXPECT_THAT(said, HasSubstr("WRONGPASS"));
    EXPECT_EQ(said.find("barley"), std::string::npos) << said;
}

TEST_F(AccessTest, MissingPasswordIsTold) {
    const RedisServer server{{.password = "open sesame"}};
    EXPECT_THAT(failureOf("redis://" + server.address() + "/berlin"), HasSubstr("NOAUTH"));
}

TEST_F(AccessTest, PasswordFileThatIsMissingOrOpenToOthersIsNamed) {
    const RedisServer server{{.password = "open sesame"}};
    const std::string url = "redis://" + server.address() + "/berlin?password-file=";
    const std::string missing = (folder / "nothing").string();
    EXPECT_THAT(failureOf(url + missing), HasSubstr(missing + ": "));
    const std::string file = secret("open sesame");
    std::filesystem::permissions(file, std::filesystem::perms::others_read,
                                 std::filesystem::perm_options::add);
    EXPECT_THAT(failureOf(url + file), HasSubstr(file + ": "));
}

TEST_F(AccessTest, PasswordThatWasChangedInServerAndFileNeedsNoRestart) {
    RedisServer server{{.appendOnly = true, .password = "first"}};
    NetworkClient client{"redis://" + server.address() + "/berlin?password-file=" + secret("first")};
    const std::uint64_t channel = client.channel(MEASURE);
    server.command({"ACL", "SETUSER", "default", "resetpass", ">second"});
    secret("second");
    server.command({"CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes"});
    client.set(channel, 1.0F);
    EXPECT_EQ(client.channels().getChannelCValue(channel), qz::CValue{1.0F});
}

TEST_F(AccessTest, EncryptedConnectionToAServerWithATrustedCertificateOpensTheStore) {
    const RedisServer server{{.tls = true}};
    expectToWork("rediss://" + server.address() + "/berlin?ca-file=" + server.certificate().file().string());
}

TEST_F(AccessTest, CertificateOfAnotherAuthorityIsRefused) {
    const RedisServer server{{.tls = true}};
    const Certificate other{folder.path(), "other"};
    EXPECT_THAT(failureOf("rediss://" + server.address() + "/berlin?ca-file=" + other.file().string()),
                HasSubstr("certificate"));
    EXPECT_THAT(failureOf("rediss://" + server.address() + "/berlin"), HasSubstr("certificate"));
}

TEST_F(AccessTest, CertificateOfAnotherHostIsRefused) {
    const RedisServer server{{.tls = true, .lines = {"bind 127.0.0.1 127.0.0.2"}}};
    EXPECT_THAT(failureOf("rediss://127.0.0.2:" + std::to_string(server.port()) +
                          "/berlin?ca-file=" + server.certificate().file().string()),
                HasSubstr("IP address mismatch"));
}

TEST_F(AccessTest, KeyWithAPassphraseIsNamedAndNobodyIsAskedForIt) {
    const Certificate own{folder.path(), "own"};
    const std::string locked = (folder / "locked.key").string();
    const std::string command = "openssl ec -aes128 -passout pass:words -in '" + own.key().string() +
                                "' -out '" + locked + "' 2>/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const RedisServer server{{.tls = true}};
    EXPECT_THAT(failureOf("rediss://" + server.address() +
                          "/berlin?ca-file=" + server.certificate().file().string() +
                          "&cert-file=" + own.file().string() + "&key-file=" + locked),
                HasSubstr(locked + ": the key has a passphrase, which nobody can be asked for"));
}

TEST_F(AccessTest, KeyThatOthersCanReadIsRefused) {
    const Certificate own{folder.path(), "own"};
    const RedisServer server{{.tls = true}};
    const std::string url = "rediss://" + server.address() +
                            "/berlin?ca-file=" + server.certificate().file().string() +
                            "&cert-file=" + own.file().string() + "&key-file=" + own.key().string();
    std::filesystem::permissions(own.key(), std::filesystem::perms{0644});
    EXPECT_THAT(failureOf(url), HasSubstr(own.key().string() +
                                          " can be read by everybody (mode 0644); chmod o= makes it usable"));
    std::filesystem::permissions(own.key(), std::filesystem::perms{0640});
    expectToWork(url);
}

TEST_F(AccessTest, CertificateFileThatIsNoneIsNamed) {
    const RedisServer server{{.tls = true}};
    const std::string file = secret("no certificate");
    EXPECT_THAT(failureOf("rediss://" + server.address() + "/berlin?ca-file=" + file), HasSubstr(file));
}

TEST_F(AccessTest, ServerThatAsksForACertificateGetsThatOfTheProgram) {
    const Certificate own{folder.path(), "own"};
    const RedisServer server{{.tls = true}};
    server.command({"CONFIG", "SET", "tls-auth-clients", "yes", "tls-ca-cert-file", own.file().string()});
    const std::string url =
        "rediss://" + server.address() + "/berlin?ca-file=" + server.certificate().file().string();
    failureOf(url);
    expectToWork(url + "&cert-file=" + own.file().string() + "&key-file=" + own.key().string());
}

TEST_F(AccessTest, PlainConnectionToAnEncryptedServerFails) {
    const RedisServer server{{.tls = true}};
    failureOf("redis://" + server.address() + "/berlin");
}

TEST_F(AccessTest, EncryptedConnectionToAPlainServerFails) {
    const RedisServer server;
    failureOf("rediss://" + server.address() + "/berlin", NetworkClient::PATIENCE);
}

TEST_F(AccessTest, PortThatNobodyListensOnAndSocketThatIsNotThereAreTold) {
    const std::string address = "127.0.0.1:" + std::to_string(velk::testing::freePort());
    EXPECT_THAT(failureOf("redis://" + address + "/berlin"),
                AllOf(HasSubstr(address), HasSubstr("onnection refused")));
    const std::string socket = (folder / "nothing.sock").string();
    EXPECT_THAT(failureOf("redis+unix://" + socket + "/berlin"), HasSubstr(socket + ": "));
}

TEST_F(AccessTest, ServerThatDoesNotAnswerIsToldInsteadOfWaitedFor) {
    RedisServer server;
    server.pause();
    EXPECT_THAT(failureOf("redis://" + server.address() + "/berlin", NetworkClient::PATIENCE),
                HasSubstr(server.address()));
}

TEST_F(AccessTest, StoreThatIsNotThereIsNotMadeByThoseWhoOnlyLook) {
    const RedisServer server;
    const std::string url = "redis://" + server.address() + "/berlin";
    EXPECT_THROW((NetworkClient{url, false}), boost::system::system_error);
    EXPECT_EQ(server.command({"DBSIZE"}), "0");
}

TEST_F(AccessTest, KeyOfAnotherProgramIsNotTakenForAStore) {
    const RedisServer server;
    server.command({"HSET", "tess:{berlin}:site", "color", "red"});
    failureOf("redis://" + server.address() + "/berlin");
    EXPECT_EQ(server.command({"HGETALL", "tess:{berlin}:site"}), "color\nred");
}

} // namespace
} // namespace tessapi::network
