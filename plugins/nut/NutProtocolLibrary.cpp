#include "plugins/nut/NutProtocolLibrary.h"

#include "plugins/nut/NutProtocol.h"
#include "plugins/nut/NutProtocolBuilder.h"
#include "plugins/nut/NutWrapperFactory.h"
#include "plugins/nut/PluginIdentity.h"

#include <stdexcept>
#include <utility>

namespace velk::nut {

using powerdistribution::protocols::IProtocol;
using powerdistribution::protocols::IProtocolBuilder;
using powerdistribution::protocols::IWrapperFactory;

NutProtocolLibrary::NutProtocolLibrary(NutConfiguration settings) : configuration{std::move(settings)} {}

NutProtocolLibrary::~NutProtocolLibrary() = default;

const velk::common::Uuid& NutProtocolLibrary::uuid() const {
    return PROTOCOL_UUID;
}

std::shared_ptr<IProtocolBuilder> NutProtocolLibrary::builder() const {
    return std::make_shared<NutProtocolBuilder>(configuration);
}

std::shared_ptr<IWrapperFactory>
NutProtocolLibrary::wrapperFactory(std::shared_ptr<IProtocol> protocol) const {
    auto own = std::dynamic_pointer_cast<NutProtocol>(std::move(protocol));
    if (!own) {
        throw std::invalid_argument{"nut: the protocol is not of this plug-in"};
    }
    return std::make_shared<NutWrapperFactory>(std::move(own));
}

} // namespace velk::nut
