#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/core/PowerDistributionManager.h"
#include "testing/FakeClock.h"
#include "testing/TemporaryDirectory.h"
#include "tests/integration/ScriptedDevice.h"
#include "tests/integration/StoreWatch.h"
#include "tests/integration/TransitionLog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velk::testing {

/// The real library over the real plug-in interface on a real store in memory, with a scripted device. The
/// two-second pauses of the lifecycle pass when the test says so.
class LifecycleFixture : public ::testing::Test {
protected:
    using Value = velk::powerdistribution::Value;
    using EPath = velk::powerdistribution::EPath;

    void SetUp() override {
        static int run = 0;
        storeUrl = "memory:lifecycle-" + std::to_string(++run);
        setenv("TESS_URL", storeUrl.c_str(), 1);
        store = std::make_unique<StoreWatch>(storeUrl);

        const std::string plugin = VELK_BINARY_DIR "/tests/scripted/scripted.so";
        handle = dlopen(plugin.c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle, nullptr) << dlerror();
        device = reinterpret_cast<ScriptedDevice* (*)()>(dlsym(handle, "velkScriptedDevice"))();
        device->log = std::make_shared<CallLog>();
        device->factory = std::make_shared<FakeWrapperFactory>(device->uuid);
        device->found = true;
        device->onEnumerate = {};
        device->makeFactory = {};
        std::ofstream{directory / "velk.json"}
            << R"({"maxRestTimeMs": 1, "maxCpuLoadPercent": 100, "protocolLibraries": [")" << plugin
            << "\"]}";
        describeDevice();
    }

    void TearDown() override {
        finish();
        manager.reset();
        dlclose(handle);
    }

    /// A device that says who it is and that it can be reached.
    void describeDevice() {
        namespace pd = velk::powerdistribution;
        device->factory->add({pd::EProperty::Identification, pd::EAttribute::Uuid},
                             Value{deviceUuid.toString()});
        device->factory->add({pd::EProperty::Identification, pd::EAttribute::FirmwareVersion},
                             Value{std::string{"1.0"}});
        link = &device->factory->add({pd::ECommunicationStatus::State}, Value{std::uint32_t{2}});
        device->factory->add({pd::EStatus::Mode}, Value{std::uint32_t{2}});
        // A device without a battery says so, or every look at its bank would leave two lines of complaint.
        device->factory->add(
            {pd::ECircuit::BackupSystem, pd::ECircuit::PowerBank, pd::EStatus::StoragePresent},
            Value{std::uint32_t{3}});
    }

    /// Runs a new manager on a thread of its own.
    void start(velk::powerdistribution::DeviceWriteListener listener = {}) {
        manager = std::make_unique<velk::powerdistribution::PowerDistributionManager>();
        runner = std::thread{[this, listener = std::move(listener)] {
            try {
                auto attributes = attributesOfRun();
                attributes.onDeviceWrite = listener;
                attributes.onServiceState = [this](std::uint32_t state) { tellState(state); };
                manager->exec(std::move(attributes));
            } catch (const std::exception& error) {
                failure = error.what();
            } catch (...) {
                failure = "no standard exception";
            }
            ended = true;
        }};
    }

    velk::powerdistribution::PowerDistributionManager::Attributes attributesOfRun() {
        velk::powerdistribution::PowerDistributionManager::Attributes attributes;
        attributes.path = directory / "velk.json";
        attributes.clock = &clock;
        return attributes;
    }

    void tellState(std::uint32_t state) {
        serviceStates.push_back(state);
        if (onServiceState) {
            onServiceState(state);
        }
    }

    /// True when the condition has come true, false when that takes more than half a minute.
    static bool awaitThat(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{30};
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }

    /// Blocks until the lifecycle pauses or has ended; true when it pauses.
    bool awaitPause() {
        while (!ended && clock.sleeps().size() == passed) {
            std::this_thread::yield();
        }
        return clock.sleeps().size() > passed;
    }

    /// Lets one two-second pause of the lifecycle pass, and what it then does up to its next one.
    void pass() {
        if (awaitPause()) {
            passed = clock.sleeps().size();
            clock.advance(std::chrono::seconds{2});
            awaitPause();
        }
    }

    /// Lets the lifecycle run until it has come into the state once more.
    bool runTo(const std::string& state, std::size_t times = 1) {
        return awaitThat([&] {
                   if (countOf(state) < times && !ended) {
                       pass();
                   }
                   return countOf(state) >= times || ended;
               }) &&
               countOf(state) >= times;
    }

    /// Blocks until the device's link has been looked at with the value that it has now.
    void awaitLinkSeen() {
        const std::size_t seen = link->reads();
        ASSERT_TRUE(awaitThat([&] { return link->reads() >= seen + 2; }));
    }

    void finish() {
        if (!runner.joinable()) {
            return;
        }
        manager->exit();
        while (!ended) {
            clock.advance(std::chrono::seconds{2});
            std::this_thread::yield();
        }
        runner.join();
    }

    std::size_t countOf(const std::string& state) const {
        std::istringstream words{output.states()};
        std::size_t found = 0;
        for (std::string word; words >> word;) {
            found += word == state ? 1 : 0;
        }
        return found;
    }

    const velk::common::Uuid deviceUuid{"9f2c1c9e-6f0d-4a8e-9a7b-3c5d7e9f1b2d"};
    TemporaryDirectory directory;
    TransitionLog output;
    FakeClock clock{FakeClock::Passing::ByHand};
    std::string storeUrl;
    std::unique_ptr<StoreWatch> store;
    void* handle{nullptr};
    ScriptedDevice* device{nullptr};
    FakePoint* link{nullptr};
    std::unique_ptr<velk::powerdistribution::PowerDistributionManager> manager;
    std::thread runner;
    std::atomic<bool> ended{false};
    std::size_t passed{0};                             ///< pauses that the test has let pass
    std::vector<std::uint32_t> serviceStates;          ///< read after `finish`
    std::string failure;                               ///< what left `exec`; read after `ended`
    std::function<void(std::uint32_t)> onServiceState; ///< run on the lifecycle's thread; set before `start`
};

} // namespace velk::testing
