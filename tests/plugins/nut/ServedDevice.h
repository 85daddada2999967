#pragma once

#include "platform/common/Mutex.h"
#include "plugins/nut/NutDevice.h"
#include "plugins/nut/NutProtocol.h"
#include "plugins/nut/NutWrapperFactory.h"
#include "testing/FakeClock.h"
#include "tests/plugins/nut/NutLists.h"
#include "tests/plugins/nut/ScriptedServer.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velk::testing {

/// A device behind a scripted server, found by the plug-in's protocol. The test changes what the server says
/// and moves the clock by an interval to have it polled.
class ServedDevice {
public:
    using Value = velk::powerdistribution::Value;
    using EPath = velk::powerdistribution::EPath;

    explicit ServedDevice(velk::nut::Variables served, std::vector<std::string> writable = {},
                          std::vector<std::string> commands = {}, const std::string& alarmFile = "") :
        variables{std::move(served)},
        writableNames{std::move(writable)},
        commandNames{std::move(commands)},
        server{[this](const std::string& line) { return answer(line); }} {
        auto configuration = configurationFor(server.port());
        configuration.alarmFile = alarmFile;
        protocol = std::make_shared<velk::nut::NutProtocol>(
            std::make_shared<velk::nut::NutDevice>(configuration, clock));
        protocol->start();
        clock.awaitBlocked(1);
        poll();
        protocol->discover();
        factory = std::make_unique<velk::nut::NutWrapperFactory>(protocol);
    }

    ~ServedDevice() { protocol->stop(); }
    ServedDevice(const ServedDevice&) = delete;
    ServedDevice& operator=(const ServedDevice&) = delete;

    /// One more list.
    void poll() {
        clock.advance(std::chrono::milliseconds{100});
        clock.awaitBlocked(1);
    }
    void set(const std::string& variable, const std::string& text) {
        const velk::common::MutexLock lock{mutex};
        variables[variable] = text;
    }
    /// From now on lists are answered with this instead; empty ends that.
    void failWith(const std::string& answer) {
        const velk::common::MutexLock lock{mutex};
        failure = answer;
    }
    /// From now on settings are taken and nothing comes of them.
    void ignoreChanges() {
        const velk::common::MutexLock lock{mutex};
        ignoresChanges = true;
    }
    std::vector<std::string> requests() const { return server.requests(); }

    powerdistribution::protocols::ValueWrapperPtr wrapper(const EPath& path) const {
        return factory->buildWrapper(path);
    }
    bool serves(const EPath& path) const { return wrapper(path) != nullptr; }
    /// Empty also for a path that is not served.
    Value read(const EPath& path) const {
        const auto built = wrapper(path);
        return built ? built->read() : Value{};
    }

    FakeClock clock{FakeClock::Passing::ByHand};
    std::shared_ptr<velk::nut::NutProtocol> protocol;
    std::unique_ptr<velk::nut::NutWrapperFactory> factory;

private:
    std::string answer(const std::string& line) {
        const velk::common::MutexLock lock{mutex};
        if (line == "LIST VAR u1") {
            return failure.empty() ? variableList(variables) : failure;
        }
        if (line == "LIST RW u1") {
            return nameList("RW", writableNames);
        }
        if (line == "LIST CMD u1") {
            return nameList("CMD", commandNames);
        }
        const auto words = velk::nut::splitLine(line);
        if (words[0] == "GET" && words[1] == "TYPE") {
            return "TYPE u1 " + words[3] + " RW NUMBER\n";
        }
        if (words[0] == "GET" && words[1] == "VAR") {
            return "VAR u1 " + words[3] + " " + velk::nut::quote(variables[words[3]]) + "\n";
        }
        if (words[0] == "SET" && words[1] == "VAR" && !ignoresChanges) {
            variables[words[3]] = words[4];
        }
        return "OK\n";
    }

    mutable velk::common::Mutex mutex;
    velk::nut::Variables variables VELK_GUARDED_BY(mutex);
    std::vector<std::string> writableNames;
    std::vector<std::string> commandNames;
    std::string failure VELK_GUARDED_BY(mutex);
    bool ignoresChanges VELK_GUARDED_BY(mutex){false};
    ScriptedServer server;
};

} // namespace velk::testing
