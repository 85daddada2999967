// The plug-in under many hands, and what it leaves behind.

#include "tests/plugins/simulator/SimulatorHost.h"

#include <gtest/gtest.h>

#include <atomic>
#include <dlfcn.h>
#include <filesystem>
#include <thread>
#include <vector>

namespace velk::simulator {
namespace {

using powerdistribution::Value;
using velk::testing::SimulatorHost;

std::size_t threadsOfProcess() {
    const std::filesystem::directory_iterator tasks{"/proc/self/task"};
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

TEST(PluginThreadsTest, EightReadersNeverSeeAValueOfAnotherTypeWhileFaultsComeAndGo) {
    SimulatorHost host{R"("device":"ups-3ph","timeoutMs":2,"speed":20)"};
    ASSERT_TRUE(host.find());
    const std::vector<std::string> paths{"Inputs.1.Measure.Voltage",
                                         "Outputs.1.Measure.ActivePower",
                                         "Status.Mode",
                                         "BackupSystem.PowerBank.Measure.StateOfCharge",
                                         "Outlets.1.Measure.Current",
                                         "Identification.Attribute.SerialNumber",
                                         "Setting.HighEfficiencyEnabled",
                                         "CommunicationStatus.State"};
    std::vector<std::size_t> alternatives;
    for (const std::string& path : paths) {
        alternatives.push_back(host.read(path).variant().value().index());
    }
    std::atomic<bool> isDone{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (std::size_t index = 0; index < 8; ++index) {
        readers.emplace_back([&, index] {
            const auto wrapper = host.wrapper(paths[index]);
            while (!isDone) {
                const Value value = wrapper->read();
                wrong += value.hasValue() && value.variant()->index() != alternatives[index] ? 1 : 0;
                host.protocol->communicationStatus();
                std::this_thread::yield(); // the tester wants to get on, too
            }
        });
    }
    for (int round = 0; round < 3; ++round) {
        for (const std::string kind : {R"("linkLost")", R"("silent")", R"("slow","ms":1)",
                                       R"("flapping","ms":100)", R"("refuseWrites")", R"("bootloader")"}) {
            host.command(R"({"do":"fault","kind":)" + kind + "}");
            host.command(R"({"do":"counts","Outlets":)" + std::to_string(3 + round % 2) + "}");
            host.write("Setting.HighEfficiencyEnabled", round % 2 == 0);
            host.command(R"({"do":"clear"})");
        }
    }
    isDone = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(host.state(), 2);
}

TEST(PluginThreadsTest, DeviceIsFoundAndLetGoAHundredTimes) {
    SimulatorHost host{R"("device":"pdu-42","speed":10)"};
    for (int round = 0; round < 100; ++round) {
        ASSERT_TRUE(host.find());
        ASSERT_TRUE(host.read("Inputs.1.Measure.Voltage").hasValue());
        host.protocol->disconnect();
        ASSERT_FALSE(host.read("Inputs.1.Measure.Voltage").hasValue());
    }
}

TEST(PluginThreadsTest, NoThreadAndNoCodeIsLeftBehind) {
    // A sanitizer begins a thread of its own with the first one.
    std::thread{[] {}}.join();
    const std::size_t before = threadsOfProcess();
    for (int round = 0; round < 3; ++round) {
        SimulatorHost host{R"("device":"ats","speed":50,"scenario":"ats.json")"};
        ASSERT_TRUE(host.find());
        host.held("Status.Mode");
        EXPECT_GT(threadsOfProcess(), before);
        if (round == 1) {
            host.factory.reset();
            host.protocol.reset(); // without stop
        }
    }
    EXPECT_EQ(threadsOfProcess(), before);
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
    EXPECT_EQ(dlopen(SimulatorHost::plugin().c_str(), RTLD_NOLOAD | RTLD_NOW), nullptr);
#endif
}

TEST(PluginThreadsTest, WrappersOutliveTheProtocolAndReadAsEmpty) {
    SimulatorHost host{R"("device":"ats")"};
    ASSERT_TRUE(host.find());
    auto voltage = host.wrapper("Inputs.1.Measure.Voltage");
    host.stop();
    EXPECT_FALSE(voltage->read().hasValue());
    EXPECT_FALSE(voltage->write(1.0F));
}

} // namespace
} // namespace velk::simulator
