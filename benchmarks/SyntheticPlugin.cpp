// The synthetic device as a plug-in. VELK_SYNTHETIC_OUTLETS is the number of its outlets; its alarm file lies
// beside the configuration file.

#include "benchmarks/SyntheticDevice.h"
#include "platform/common/Export.h"
#include "powerdistribution/protocols/IProtocolBuilder.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

using namespace velk::powerdistribution::protocols;

const velk::common::Uuid& protocolUuid() {
    static const velk::common::Uuid uuid{"2b9b6a0e-6a37-4a43-9a0b-3b1f52d6f1a1"};
    return uuid;
}

class Protocol final : public IProtocol {
public:
    void start() override {}
    void stop() override {}
    const velk::common::Uuid& protocolUuid() const override { return ::protocolUuid(); }
    CommunicationStatus communicationStatus() const override { return {2, {}}; }
    bool discover() override { return true; }
    void disconnect() override {}
};

class Builder final : public IProtocolBuilder {
public:
    std::unique_ptr<IProtocol> create() const override { return std::make_unique<Protocol>(); }
};

class Library final : public IProtocolLibrary {
public:
    explicit Library(const std::filesystem::path& folder) :
        device{static_cast<std::uint32_t>(std::stoul(std::getenv("VELK_SYNTHETIC_OUTLETS"))), folder} {}
    const velk::common::Uuid& uuid() const override { return protocolUuid(); }
    std::shared_ptr<IProtocolBuilder> builder() const override { return std::make_shared<Builder>(); }
    std::shared_ptr<IWrapperFactory> wrapperFactory(std::shared_ptr<IProtocol>) const override {
        return device.wrapperFactory();
    }

private:
    const velk::benchmarks::SyntheticDevice device;
};

} // namespace

extern "C" VELK_EXPORT IProtocolLibrary* velkProtocolLibrary(const char* configurationPath) {
    static Library library{std::filesystem::path{configurationPath}.parent_path()};
    return &library;
}
