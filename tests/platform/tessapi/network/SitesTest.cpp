#include "platform/tessapi/StoreSites.h"
#include "testing/RedisCluster.h"
#include "testing/RedisSentinels.h"
#include "testing/RedisServer.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/network/NetworkClient.h"

#include <boost/system/system_error.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessapi::network {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using velk::testing::RedisCluster;
using velk::testing::RedisSentinels;
using velk::testing::RedisServer;
using velk::testing::TemporaryDirectory;

void make(const std::string& url) {
    const NetworkClient client{url};
}

TEST(SitesTest, SitesOfAServerAreFoundWithAndWithoutASiteInTheUrl) {
    const RedisServer server;
    const std::string deployment = "redis://" + server.address();
    EXPECT_THAT(storeSites(deployment).names, IsEmpty());
    for (const char* site : {"zagreb", "berlin", "paris-2"}) {
        make(deployment + "/" + site);
    }
    server.command({"SET", "tess:other", "no site"});
    for (const std::string& url :
         {deployment, deployment + "/", deployment + "/zagreb", deployment + "/none"}) {
        EXPECT_THAT(storeSites(url).names, ElementsAre("berlin", "paris-2", "zagreb")) << url;
        EXPECT_THAT(storeSites(url).failures, IsEmpty());
        EXPECT_EQ(urlOfSite(url, "rome"), deployment + "/rome");
    }
}

TEST(SitesTest, ManyMoreSitesThanAnAnswerHoldsAreAllFound) {
    const RedisServer server;
    server.command(
        {"EVAL", "for i = 1, 3000 do redis.call('HSET', 'tess:{s' .. i .. '}:site', 'id', '1') end", "0"});
    EXPECT_THAT(storeSites("redis://" + server.address()).names, SizeIs(3000));
}

TEST(SitesTest, SocketAndOptionsOfTheUrlAreKept) {
    const RedisServer server{{.password = "open sesame"}};
    const TemporaryDirectory folder;
    const std::string file = (folder / "password").string();
    std::ofstream{file} << "open sesame\n";
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const std::string place = "redis+unix://" + server.socket().string();
    const std::string options = "?password-file=" + file;
    make(place + "/berlin" + options);
    EXPECT_THAT(storeSites(place + options).names, ElementsAre("berlin"));
    EXPECT_EQ(urlOfSite(place + options, "rome"), place + "/rome" + options);
    EXPECT_EQ(urlOfSite(place + "/berlin" + options, "rome"), place + "/rome" + options);
}

TEST(SitesTest, SentinelsTellWhereTheSitesAre) {
    RedisSentinels servers;
    const std::string deployment = "redis+sentinel://" + servers.addresses() + "/" + RedisSentinels::SERVICE;
    make(deployment + "/berlin");
    EXPECT_THAT(storeSites(deployment).names, ElementsAre("berlin"));
    EXPECT_EQ(urlOfSite(deployment, "rome"), deployment + "/rome");
}

TEST(SitesTest, AllNodesOfAClusterAreAskedAndThoseThatDoNotAnswerAreNamed) {
    RedisCluster cluster;
    const std::string deployment = "redis+cluster://" + cluster.addresses();
    std::vector<std::string> all;
    for (int i = 0; i < 9; ++i) {
        all.push_back("gateway-" + std::to_string(i));
        make(deployment + "/" + all.back());
    }
    EXPECT_EQ(storeSites(deployment).names, all);
    cluster.node(2).stop();
    const StoreSites left = storeSites(deployment + "/gateway-1");
    EXPECT_LT(left.names.size(), all.size());
    EXPECT_FALSE(left.names.empty());
    ASSERT_THAT(left.failures, SizeIs(1));
    EXPECT_THAT(left.failures.front(), HasSubstr(cluster.node(2).address() + ": "));
}

TEST(SitesTest, ServerThatDoesNotAnswerIsToldWithTheUrl) {
    const std::string url = "redis://127.0.0.1:" + std::to_string(velk::testing::freePort());
    try {
        storeSites(url);
        ADD_FAILURE() << "it found sites";
    } catch (const boost::system::system_error& failure) {
        EXPECT_THAT(failure.what(), HasSubstr(url));
        EXPECT_THAT(failure.what(), HasSubstr("onnection refused"));
    }
}

TEST(SitesTest, UrlOfASingleStoreOrOfNoneIsRefused) {
    for (const char* url : {"sqlite:/tmp/tess.db", "memory:test"}) {
        try {
            storeSites(url);
            ADD_FAILURE() << url;
        } catch (const std::invalid_argument& failure) {
            EXPECT_EQ(failure.what(),
                      "\"" + std::string{url} +
                          "\" is a single store; many are on a server such as redis://HOST[:PORT]");
        }
    }
    for (const char* url : {"", "redis:", "redis://", "redis://host:port", "redis://host?color=red",
                            "redis+sentinel://host", "redis://host/a/b"}) {
        EXPECT_THROW(storeSites(url), std::invalid_argument) << url;
        EXPECT_THROW(urlOfSite(url, "rome"), std::invalid_argument) << url;
    }
    EXPECT_THROW(urlOfSite("redis://host", "no site"), std::invalid_argument);
}

} // namespace
} // namespace tessapi::network
