#include "plugins/nut/NutProtocol.h"

#include "plugins/nut/PluginIdentity.h"

#include <utility>

namespace velk::nut {

NutProtocol::NutProtocol(std::shared_ptr<NutDevice> target) : reached{std::move(target)} {}

NutProtocol::~NutProtocol() {
    stop();
}

void NutProtocol::start() {
    reached->poller.start();
}

void NutProtocol::stop() {
    reached->poller.stop();
}

const velk::common::Uuid& NutProtocol::protocolUuid() const {
    return PROTOCOL_UUID;
}

powerdistribution::protocols::CommunicationStatus NutProtocol::communicationStatus() const {
    return reached->poller.status();
}

bool NutProtocol::discover() {
    return reached->poller.attach();
}

void NutProtocol::disconnect() {
    reached->poller.detach();
}

} // namespace velk::nut
