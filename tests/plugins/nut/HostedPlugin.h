#pragma once

#include "platform/common/Clock.h"
#include "platform/common/DynamicLibrary.h"
#include "powerdistribution/core/Value.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "testing/SecretText.h"
#include "testing/TemporaryDirectory.h"

#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace velk::testing {

/// The plug-in as a host has it: loaded from its file by the path of a configuration, with one protocol.
class HostedPlugin {
public:
    using EPath = velk::powerdistribution::EPath;
    using Value = velk::powerdistribution::Value;

    struct Options {
        std::string user{"velk"};
        std::string password{"secret"};
        std::string alarmFile;
        int pollIntervalMs{200};
    };

    HostedPlugin(int port, const std::string& ups) : HostedPlugin{port, ups, Options{}} {}
    HostedPlugin(int port, const std::string& ups, const Options& options) {
        velk::testing::writeSecret(folder / "upsd.pass", options.password + "\n");
        std::ofstream{folder / "velk.json"}
            << R"({"protocolLibraries": [")" << VELK_NUT_PLUGIN_DIR
            << R"(/libvelk-mz-protocol-nut.so"], "nut": {"port": )" << port << R"(, "ups": ")" << ups
            << R"(", "user": ")" << options.user << R"(", "passwordFile": "upsd.pass", "pollIntervalMs": )"
            << options.pollIntervalMs
            << (options.alarmFile.empty() ? "" : R"(, "alarmFile": ")" + options.alarmFile + "\"") << "}}";
        auto libraries = velk::common::loadDynamicLibraries((folder / "velk.json").string());
        if (libraries.size() != 1) {
            throw std::runtime_error{"the plug-in was not loaded"};
        }
        library = std::move(libraries.front());
        protocol = library->protocolLibrary().builder()->create();
        protocol->start();
    }
    ~HostedPlugin() { stop(); }
    HostedPlugin(const HostedPlugin&) = delete;
    HostedPlugin& operator=(const HostedPlugin&) = delete;

    void stop() {
        if (protocol) {
            protocol->disconnect();
            protocol->stop();
        }
        factory.reset();
        protocol.reset();
    }

    /// True when `isDone` became true within half a minute.
    static bool awaitThat(const std::function<bool()>& isDone) {
        auto& clock = velk::common::Clock::system();
        const auto deadline = clock.now() + std::chrono::seconds{30};
        while (!isDone()) {
            if (clock.now() > deadline) {
                return false;
            }
            clock.sleepFor(std::chrono::milliseconds{10});
        }
        return true;
    }

    /// Looks for the device until it is there, and takes its wrapper factory.
    bool find() {
        if (!awaitThat([this] { return protocol->discover(); })) {
            return false;
        }
        factory = library->protocolLibrary().wrapperFactory(protocol);
        return true;
    }

    int state() const { return protocol->communicationStatus().state; }
    velk::powerdistribution::protocols::ValueWrapperPtr wrapper(const EPath& path) const {
        return factory->buildWrapper(path);
    }
    /// Empty also for a path that is not served.
    Value read(const EPath& path) const {
        const auto built = wrapper(path);
        return built ? built->read() : Value{};
    }

    TemporaryDirectory folder;
    std::unique_ptr<velk::common::DynamicLibrary> library;
    std::shared_ptr<velk::powerdistribution::protocols::IProtocol> protocol;
    std::shared_ptr<velk::powerdistribution::protocols::IWrapperFactory> factory;
};

} // namespace velk::testing
