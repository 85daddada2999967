#pragma once

#include "plugins/nut/NutConfiguration.h"
#include "powerdistribution/protocols/IProtocolBuilder.h"

#include <memory>

namespace velk::nut {

/// Makes the protocol of one configuration.
class NutProtocolBuilder final : public powerdistribution::protocols::IProtocolBuilder {
public:
    explicit NutProtocolBuilder(NutConfiguration settings);
    ~NutProtocolBuilder() override;
    std::unique_ptr<powerdistribution::protocols::IProtocol> create() const override;

private:
    NutConfiguration configuration;
};

} // namespace velk::nut
