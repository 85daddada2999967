#pragma once

#include "plugins/nut/NutConfiguration.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"

#include <memory>

namespace velk::nut {

/// The entry object of the plug-in: makes protocols of one configuration.
class NutProtocolLibrary final : public powerdistribution::protocols::IProtocolLibrary {
public:
    explicit NutProtocolLibrary(NutConfiguration settings);
    ~NutProtocolLibrary() override;

    const velk::common::Uuid& uuid() const override;
    std::shared_ptr<powerdistribution::protocols::IProtocolBuilder> builder() const override;

    /// Throws std::invalid_argument for a protocol that is not of this plug-in.
    std::shared_ptr<powerdistribution::protocols::IWrapperFactory>
    wrapperFactory(std::shared_ptr<powerdistribution::protocols::IProtocol> protocol) const override;

private:
    NutConfiguration configuration;
};

} // namespace velk::nut
