// What a bad plug-in does to its host: exceptions from any operation, values of the wrong kind.

#include "tests/plugins/simulator/SimulatorHost.h"

#include <gtest/gtest.h>

#include <functional>

namespace velk::simulator {
namespace {

using namespace powerdistribution;
using velk::testing::SimulatorHost;

const std::string BROKEN_POINT = "Inputs.1.Measure.Voltage";

std::string thrown(const std::string& operation, const std::string& more = {}) {
    return R"({"kind":"throw","operation":")" + operation + R"(","what":"boom")" + more + "}";
}

/// The text of the standard exception that leaves the call; "none" without one.
std::string failureOf(const std::function<void()>& call) {
    try {
        call();
        return "none";
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

TEST(PluginFaultTest, MakingAndStartingTheProtocolFailFromTheConfiguration) {
    for (const std::string operation : {"builder", "create", "start"}) {
        SimulatorHost host{R"("device":"ats","faults":[)" + thrown(operation) + "]", false};
        EXPECT_EQ(failureOf([&] { host.start(); }), "boom") << operation;
        host.protocol.reset();
    }
}

TEST(PluginFaultTest, FaultOfTheConfigurationIsOverAfterItsTimes) {
    SimulatorHost host{R"("device":"ats","faults":[)" + thrown("discover", R"(,"times":2)") + "]"};
    EXPECT_EQ(failureOf([&] { host.find(); }), "boom");
    EXPECT_EQ(failureOf([&] { host.find(); }), "boom");
    EXPECT_EQ(failureOf([&] { EXPECT_TRUE(host.find()); }), "none");
}

class ThrowingPluginTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(host.find());
        voltage = host.wrapper(BROKEN_POINT);
    }
    void breakIt(const std::string& operation, const std::string& more = {}) {
        std::string fault = thrown(operation, more);
        host.command(R"({"do":"fault",)" + fault.substr(1));
    }

    SimulatorHost host{R"("device":"ats")"};
    powerdistribution::protocols::ValueWrapperPtr voltage;
};

TEST_F(ThrowingPluginTest, EveryOperationOfTheProtocolFailsOnDemand) {
    breakIt("communicationStatus");
    EXPECT_EQ(failureOf([&] { host.state(); }), "boom");
    EXPECT_EQ(failureOf([&] { host.read("CommunicationStatus.State"); }), "boom");
    host.command(R"({"do":"clear"})");
    breakIt("discover");
    EXPECT_EQ(failureOf([&] { host.protocol->discover(); }), "boom");
    breakIt("disconnect");
    EXPECT_EQ(failureOf([&] { host.protocol->disconnect(); }), "boom");
    breakIt("stop");
    EXPECT_EQ(failureOf([&] { host.protocol->stop(); }), "boom");
    host.command(R"({"do":"clear"})");
}

TEST_F(ThrowingPluginTest, LibraryAndFactoryFailOnDemand) {
    breakIt("builder");
    EXPECT_EQ(failureOf([&] { host.library->protocolLibrary().builder(); }), "boom");
    breakIt("wrapperFactory");
    EXPECT_EQ(failureOf([&] { host.library->protocolLibrary().wrapperFactory(host.protocol); }), "boom");
    breakIt("buildWrapper", R"(,"path":"Inputs.2.*")");
    EXPECT_TRUE(host.wrapper(BROKEN_POINT));
    EXPECT_EQ(failureOf([&] { host.wrapper("Inputs.2.Measure.Voltage"); }), "boom");
}

TEST_F(ThrowingPluginTest, EveryOperationOfAWrapperFailsOnDemandAndOnItsPathAlone) {
    const auto other = host.wrapper("Inputs.2.Measure.Voltage");
    const auto fails = [&](const std::string& operation, auto call) {
        breakIt(operation, R"(,"path":")" + BROKEN_POINT + "\"");
        EXPECT_EQ(failureOf([&] { call(*voltage); }), "boom") << operation;
        EXPECT_EQ(failureOf([&] { call(*other); }), "none") << operation;
        host.command(R"({"do":"clear"})");
        EXPECT_EQ(failureOf([&] { call(*voltage); }), "none") << operation;
    };
    fails("read", [](protocols::IValueWrapper& wrapper) { wrapper.read(); });
    fails("write", [](protocols::IValueWrapper& wrapper) { wrapper.write(1.0F); });
    fails("isReadable", [](protocols::IValueWrapper& wrapper) { wrapper.isReadable(); });
    fails("isWritable", [](protocols::IValueWrapper& wrapper) { wrapper.isWritable(); });
    fails("dataConfig", [](protocols::IValueWrapper& wrapper) { wrapper.dataConfig(); });
}

TEST_F(ThrowingPluginTest, ForeignExceptionIsNoneOfTheStandardLibrary) {
    breakIt("read", R"(,"kindOfException":"other","times":1)");
    bool isForeign = false;
    try {
        voltage->read();
    } catch (const std::exception&) {
        isForeign = false;
    } catch (...) {
        isForeign = true;
    }
    EXPECT_TRUE(isForeign);
    EXPECT_TRUE(voltage->read().hasValue());
}

TEST_F(ThrowingPluginTest, WrongAlternativeIsAValueOfAnotherType) {
    host.command(R"({"do":"fault","kind":"wrongAlternative","path":"Inputs.1.Measure.Voltage"})");
    EXPECT_TRUE(voltage->read().holds<std::string>());
    EXPECT_TRUE(host.read("Inputs.2.Measure.Voltage").holds<float>());
    host.command(R"({"do":"fault","kind":"wrongAlternative","path":"Identification.*"})");
    EXPECT_TRUE(host.read("Identification.Attribute.SerialNumber").holds<std::uint32_t>());
    EXPECT_TRUE(voltage->read().holds<std::string>());
    host.command(R"({"do":"clear"})");
    EXPECT_TRUE(voltage->read().holds<float>());
}

TEST_F(ThrowingPluginTest, WrongAlternativeDoesNotHideALoss) {
    host.command(R"({"do":"fault","kind":"wrongAlternative","path":"*"})");
    host.command(R"({"do":"fault","kind":"linkLost"})");
    EXPECT_FALSE(voltage->read().hasValue());
}

TEST_F(ThrowingPluginTest, GarbageIsATextThatIsNoneAndNoNumber) {
    host.command(R"({"do":"fault","kind":"garbage","path":"*"})");
    const Value serial = host.read("Identification.Attribute.SerialNumber");
    ASSERT_TRUE(serial.holds<std::string>());
    EXPECT_NE(serial.get<std::string>().find('\xff'), std::string::npos);
    EXPECT_FALSE(voltage->read().hasValue());
}

} // namespace
} // namespace velk::simulator
