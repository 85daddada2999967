// The smallest plug-in that makes sense: a device of one measured voltage.

#include "platform/common/Export.h"
#include "powerdistribution/protocols/ConstROValueWrapper.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;

const velk::common::Uuid identity{"4be0643f-1d98-573b-97cd-ca98a65347dd"};

class Factory : public IWrapperFactory {
public:
    const velk::common::Uuid& protocolUuid() const override { return identity; }
    ValueWrapperPtr buildWrapper(const EPath& path) const override {
        if (path == EPath{ECircuit::Inputs, 1u, EMeasurement::Voltage}) {
            return std::make_unique<ConstROValueWrapper<float>>(230.0f);
        }
        return nullptr;
    }
};

class Protocol : public IProtocol {
public:
    void start() override {}
    void stop() override {}
    const velk::common::Uuid& protocolUuid() const override { return identity; }
    CommunicationStatus communicationStatus() const override { return {2, conv::UnixTime{1}}; }
    bool discover() override { return true; }
    void disconnect() override {}
};

class Builder : public IProtocolBuilder {
public:
    std::unique_ptr<IProtocol> create() const override { return std::make_unique<Protocol>(); }
};

class Library : public IProtocolLibrary {
public:
    const velk::common::Uuid& uuid() const override { return identity; }
    std::shared_ptr<IProtocolBuilder> builder() const override { return std::make_shared<Builder>(); }
    std::shared_ptr<IWrapperFactory> wrapperFactory(std::shared_ptr<IProtocol>) const override {
        return std::make_shared<Factory>();
    }
};

} // namespace

extern "C" VELK_EXPORT IProtocolLibrary* velkProtocolLibrary(const char*) {
    static Library library;
    return &library;
}
