// Loading the plug-in, finding its device, and asking for everything that it serves.

#include "kit/Steps.h"
#include "kit/Threads.h"
#include "platform/common/DynamicLibrary.h"

#include <array>
#include <thread>

namespace velk::kit {

using powerdistribution::EPath;
using powerdistribution::Value;
namespace protocols = powerdistribution::protocols;

namespace {

using Entry = protocols::IProtocolLibrary*(const char* configurationPath);
using CheckFunction = int(const char* configurationPath, char* message, unsigned long size);

/// Optional: says what is wrong with the plug-in's own section of the configuration.
constexpr const char* CHECK_SYMBOL = "velkProtocolCheck";

bool isConfigurationGood(Session& session) {
    auto* const check = reinterpret_cast<CheckFunction*>(session.plugin.symbol(CHECK_SYMBOL));
    if (check == nullptr) {
        return true;
    }
    std::array<char, 1024> message{};
    int result = 0;
    session.call(CHECK_SYMBOL, [&] {
        result = check(session.options.configuration.c_str(), message.data(), message.size());
    });
    message.back() = '\0';
    if (result != 0) {
        session.report.error(CHECK_SYMBOL, "a configuration that the plug-in takes", message.data());
    }
    return result == 0;
}

bool enter(Session& session) {
    constexpr const char* ENTRY = velk::common::DynamicLibrary::ENTRY_SYMBOL;
    auto* const entry = reinterpret_cast<Entry*>(session.plugin.symbol(ENTRY));
    if (entry == nullptr) {
        session.report.error(ENTRY, "this symbol, exported from the plug-in", "none");
        return false;
    }
    if (!isConfigurationGood(session) || !session.call(ENTRY, [&] {
            session.plugin.library = entry(session.options.configuration.c_str());
        })) {
        return false;
    }
    if (session.plugin.library == nullptr) {
        session.report.error(ENTRY, "the plug-in's library object for this configuration", "null");
    }
    return session.plugin.library != nullptr;
}

bool create(Session& session) {
    std::shared_ptr<protocols::IProtocolBuilder> builder;
    if (!session.call("builder", [&] { builder = session.plugin.library->builder(); })) {
        return false;
    }
    if (!builder) {
        session.report.error("builder", "an object that creates the protocol", "null");
        return false;
    }
    if (session.call("create", [&] { session.plugin.protocol = builder->create(); }) &&
        !session.plugin.protocol) {
        session.report.error("create", "a protocol", "null");
    }
    return session.plugin.protocol != nullptr;
}

void compareUuids(Session& session) {
    velk::common::Uuid ofLibrary;
    velk::common::Uuid ofProtocol;
    session.call("uuid", [&] { ofLibrary = session.plugin.library->uuid(); });
    session.call("protocolUuid", [&] { ofProtocol = session.plugin.protocol->protocolUuid(); });
    if (ofLibrary.isNil()) {
        session.report.error("uuid", "a Uuid of the plug-in's own", "the nil Uuid");
    }
    if (!(ofProtocol == ofLibrary)) {
        session.report.error("protocolUuid", "the library's Uuid " + textOf(ofLibrary), textOf(ofProtocol));
    }
}

bool makeFactory(Session& session) {
    Plugin& plugin = session.plugin;
    if (!session.call("wrapperFactory",
                      [&] { plugin.factory = plugin.library->wrapperFactory(plugin.protocol); })) {
        return false;
    }
    if (!plugin.factory) {
        session.report.error("wrapperFactory", "a factory for the protocol that has found its device",
                             "null");
        return false;
    }
    velk::common::Uuid uuid;
    session.call("protocolUuid", [&] { uuid = plugin.factory->protocolUuid(); });
    if (!(uuid == plugin.library->uuid())) {
        session.report.error("wrapperFactory", "the library's Uuid " + textOf(plugin.library->uuid()),
                             textOf(uuid));
    }
    return true;
}

std::optional<std::uint32_t> readCount(Session& session, const EPath& path,
                                       const protocols::IValueWrapper& wrapper) {
    const Value value = session.read(wrapper, path.nodesToString());
    const auto* count = value.getIf<std::uint32_t>();
    return count == nullptr ? std::nullopt : std::optional{*count};
}

} // namespace

bool loadPlugin(Session& session) {
    // Some of what a program is built with, such as a sanitizer, begins a thread of its own with the first
    // one.
    std::thread{[] {}}.join();
    session.threadsBefore = threadsOfThisProcess();
    const Doing doing{session.board, "dlopen", "load"};
    if (const auto failure = failureOf([&] { session.plugin.load(session.options.plugin); })) {
        session.report.error("load", "a plug-in that can be loaded", *failure);
        return false;
    }
    if (!enter(session) || !create(session)) {
        return false;
    }
    compareUuids(session);
    return session.call("start", [&] { session.plugin.protocol->start(); });
}

bool findDevice(Session& session) {
    return session.discover() && makeFactory(session);
}

bool walkTree(Session& session) {
    session.walk =
        std::make_unique<TreeWalk>([&](const EPath& path) { return session.build(path); },
                                   [&](const EPath& path, const protocols::IValueWrapper& wrapper) {
                                       return readCount(session, path, wrapper);
                                   });
    session.walk->run();
    for (const EPath& path : session.walk->served) {
        if (const auto family = familyOf(path)) {
            Point& point = session.points.emplace_back();
            point.path = path;
            point.text = path.nodesToString();
            point.family = *family;
        }
    }
    session.report.send({Record::Kind::Points, {}, session.points.size()});
    if (session.points.empty()) {
        session.report.error("buildWrapper", "at least one data point that the library asks for", "none");
    }
    return !session.points.empty();
}

} // namespace velk::kit
