#pragma once

#include "platform/common/Clock.h"
#include "platform/common/DynamicLibrary.h"
#include "platform/common/lwjson/Deserializer.h"
#include "plugins/simulator/simctl/Connection.h"
#include "powerdistribution/core/Value.h"
#include "powerdistribution/protocols/IProtocolBuilder.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "testing/TemporaryDirectory.h"
#include "tests/plugins/simulator/PathOfText.h"

#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace velk::testing {

/// The plug-in as a host has it: loaded from its file, with one protocol, and a tester's line to it. Its time
/// moves by hand unless the members of the configuration say otherwise.
class SimulatorHost {
public:
    using Value = powerdistribution::Value;

    static std::string plugin() { return VELK_SIMULATOR_PLUGIN; }

    /// `members` of the plug-in's section go before those that every test needs.
    explicit SimulatorHost(const std::string& members = R"("device":"ups-3ph")", bool isStarted = true) {
        configure(members);
        if (isStarted) {
            start();
        }
    }
    ~SimulatorHost() { stop(); }
    SimulatorHost(const SimulatorHost&) = delete;
    SimulatorHost& operator=(const SimulatorHost&) = delete;

    void configure(const std::string& members) {
        const std::string speed = members.find("\"speed\"") == std::string::npos ? R"(,"speed":0)" : "";
        std::ofstream{folder / "velk.json"} << R"({"protocolLibraries":[")" << plugin()
                                            << R"("],"simulator":{)" << members << speed
                                            << R"(,"control":"sim.sock"}})";
    }

    /// Loads the plug-in and starts its protocol; may throw what these throw.
    void start() {
        auto libraries = common::loadDynamicLibraries((folder / "velk.json").string());
        if (libraries.size() != 1) {
            throw std::runtime_error{"the plug-in was not loaded"};
        }
        library = std::move(libraries.front());
        protocol = library->protocolLibrary().builder()->create();
        protocol->start();
    }

    void stop() {
        if (protocol) {
            protocol->disconnect();
            protocol->stop();
        }
        factory.reset();
        protocol.reset();
    }

    /// Finds the device and takes its factory; false when it is not found.
    bool find() {
        if (!protocol->discover()) {
            return false;
        }
        factory = library->protocolLibrary().wrapperFactory(protocol);
        return true;
    }

    /// The answer to a command, one line of JSON.
    std::string ask(const std::string& json) {
        if (!tester) {
            tester = std::make_unique<simulator::simctl::Connection>((folder / "sim.sock").string());
        }
        tester->send(json);
        return tester->receive();
    }
    /// Throws std::runtime_error with the answer when the command is refused.
    void command(const std::string& json) {
        const std::string answer = ask(json);
        if (answer.rfind(R"({"ok":true)", 0) != 0) {
            throw std::runtime_error{answer};
        }
    }
    /// What the device itself holds, as JSON.
    std::string held(const std::string& path) {
        const common::lwjson::Deserializer json{ask(R"({"do":"get","path":")" + path + "\"}")};
        const auto* value = json.findMember("value");
        return value == nullptr ? "refused" : value->text();
    }
    void advance(double seconds) { command(R"({"do":"advance","seconds":)" + std::to_string(seconds) + "}"); }

    int state() const { return protocol->communicationStatus().state; }
    powerdistribution::protocols::ValueWrapperPtr wrapper(const std::string& path) const {
        return factory->buildWrapper(pathOfText(path));
    }
    /// Empty also for a path that is not served.
    Value read(const std::string& path) const {
        const auto built = wrapper(path);
        return built ? built->read() : Value{};
    }
    bool write(const std::string& path, const Value& value) const {
        const auto built = wrapper(path);
        return built && built->write(value);
    }

    /// True when `isDone` became true within half a minute.
    static bool awaitThat(const std::function<bool()>& isDone) {
        auto& clock = common::Clock::system();
        const auto deadline = clock.now() + std::chrono::seconds{30};
        while (!isDone()) {
            if (clock.now() > deadline) {
                return false;
            }
            clock.sleepFor(std::chrono::milliseconds{2});
        }
        return true;
    }

    TemporaryDirectory folder;
    std::unique_ptr<common::DynamicLibrary> library;
    std::shared_ptr<powerdistribution::protocols::IProtocol> protocol;
    std::shared_ptr<powerdistribution::protocols::IWrapperFactory> factory;
    std::unique_ptr<simulator::simctl::Connection> tester;
};

} // namespace velk::testing
