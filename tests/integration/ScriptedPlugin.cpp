// A plug-in whose device is played by a test, over the same entry and contract as any other.

#include "platform/common/Export.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "tests/integration/ScriptedDevice.h"

#include <map>

namespace {

using namespace velk::powerdistribution::protocols;
using velk::testing::FakeProtocol;
using velk::testing::ScriptedDevice;

ScriptedDevice& device() {
    static ScriptedDevice scripted{velk::common::Uuid{"7a1f5d1e-2c63-4b51-8d53-5c1f6a5b0c11"}};
    return scripted;
}

/// Hands the shared protocol out as the exclusive one that the contract asks for.
class ProtocolHandle : public IProtocol {
public:
    explicit ProtocolHandle(std::shared_ptr<FakeProtocol> shared) : protocol{std::move(shared)} {}
    void start() override { protocol->start(); }
    void stop() override { protocol->stop(); }
    const velk::common::Uuid& protocolUuid() const override { return protocol->protocolUuid(); }
    CommunicationStatus communicationStatus() const override { return protocol->communicationStatus(); }
    bool discover() override { return protocol->discover(); }
    void disconnect() override { protocol->disconnect(); }

private:
    std::shared_ptr<FakeProtocol> protocol;
};

class Builder : public IProtocolBuilder {
public:
    std::unique_ptr<IProtocol> create() const override {
        auto protocol = std::make_shared<FakeProtocol>(device().uuid, "protocol", device().log);
        protocol->setFound(device().found);
        device().protocol = protocol;
        return std::make_unique<ProtocolHandle>(protocol);
    }
};

class Library : public IProtocolLibrary {
public:
    const velk::common::Uuid& uuid() const override { return device().uuid; }
    std::shared_ptr<IProtocolBuilder> builder() const override { return std::make_shared<Builder>(); }
    std::shared_ptr<IWrapperFactory> wrapperFactory(std::shared_ptr<IProtocol>) const override {
        if (device().onEnumerate) {
            device().onEnumerate();
        }
        return device().makeFactory ? device().makeFactory() : device().factory;
    }
};

} // namespace

extern "C" VELK_EXPORT IProtocolLibrary* velkProtocolLibrary(const char*) {
    static Library library;
    return &library;
}

extern "C" VELK_EXPORT ScriptedDevice* velkScriptedDevice() {
    return &device();
}
