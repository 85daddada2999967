#include "tests/platform/tessapi/EngineUnderTest.h"

#include "testing/RedisCluster.h"
#include "testing/RedisSentinels.h"
#include "testing/RedisServer.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <sys/stat.h>

namespace tessapi::contract {

namespace {

using velk::testing::RedisCluster;
using velk::testing::RedisSentinels;
using velk::testing::RedisServer;
using Urls = std::map<std::string, std::function<std::string(const std::filesystem::path&)>>;

RedisServer& plainServer() {
    static RedisServer server;
    return server;
}

std::string siteOf(const std::filesystem::path& folder) {
    return "/" + folder.filename().string();
}

std::string withPassword(const std::filesystem::path& folder) {
    static RedisServer server{{.user = "gateway", .password = "of-a-test"}};
    static const auto file = (server.folder() / "password").string();
    std::ofstream{file} << "of-a-test\n";
    chmod(file.c_str(), 0600);
    return "redis://gateway@" + server.address() + siteOf(folder) + "?password-file=" + file;
}

std::string encrypted(const std::filesystem::path& folder) {
    static RedisServer server{{.tls = true}};
    return "rediss://" + server.address() + siteOf(folder) +
           "?ca-file=" + server.certificate().file().string();
}

std::string watchedOver(const std::filesystem::path& folder) {
    static RedisSentinels servers;
    return "redis+sentinel://" + servers.addresses() + "/" + RedisSentinels::SERVICE + siteOf(folder);
}

std::string inCluster(const std::filesystem::path& folder) {
    static RedisCluster servers;
    return "redis+cluster://" + servers.addresses() + siteOf(folder);
}

const Urls& urls() {
    static const Urls known{
        {"sqlite", [](const auto& folder) { return "sqlite:" + (folder / "tess.db").string(); }},
        {"kept",
         [](const auto& folder) {
             return "sqlite:" + (folder / "tess.db").string() + "?working=" + (folder / "run").string();
         }},
        {"memory", [](const auto& folder) { return "memory:" + folder.filename().string(); }},
        {"redis",
         [](const auto& folder) {
             return "redis+unix://" + plainServer().socket().string() + siteOf(folder);
         }},
        {"redis_tcp",
         [](const auto& folder) { return "redis://" + plainServer().address() + siteOf(folder); }},
        {"redis_user", withPassword},
        {"redis_tls", encrypted},
        {"redis_sentinel", watchedOver},
        {"redis_cluster", inCluster},
    };
    return known;
}

} // namespace

std::vector<std::string> EngineUnderTest::all() {
    std::vector<std::string> names;
    for (const auto& [name, _] : urls()) {
        names.push_back(name);
    }
    return names;
}

std::vector<std::string> EngineUnderTest::chosen() {
    const char* wanted = std::getenv("VELK_ENGINES"); // NOLINT(concurrency-mt-unsafe): read only
    std::istringstream list{wanted != nullptr ? wanted : "sqlite,kept,memory,redis"};
    std::vector<std::string> names;
    for (std::string name; std::getline(list, name, ',');) {
        names.push_back(name);
    }
    return names;
}

std::string EngineUnderTest::urlFor(const std::string& engine, const std::filesystem::path& folder) {
    return urls().at(engine)(folder);
}

std::string EngineUnderTest::otherUrl(const std::string& url) {
    const auto options = std::min(url.find('?'), url.size());
    return url.substr(0, options) + "-other" + url.substr(options);
}

} // namespace tessapi::contract
