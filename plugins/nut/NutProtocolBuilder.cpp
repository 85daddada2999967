#include "plugins/nut/NutProtocolBuilder.h"

#include "plugins/nut/NutProtocol.h"

#include <utility>

namespace velk::nut {

NutProtocolBuilder::NutProtocolBuilder(NutConfiguration settings) : configuration{std::move(settings)} {}

NutProtocolBuilder::~NutProtocolBuilder() = default;

std::unique_ptr<powerdistribution::protocols::IProtocol> NutProtocolBuilder::create() const {
    return std::make_unique<NutProtocol>(
        std::make_shared<NutDevice>(configuration, velk::common::Clock::system()));
}

} // namespace velk::nut
