#pragma once

#include "platform/common/Export.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/protocols/IProtocol.h"
#include "powerdistribution/protocols/IProtocolBuilder.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <memory>

namespace velk::powerdistribution::protocols {

/// The entry object of a plug-in, which owns it. The order of the operations is contract.
class VELK_EXPORT IProtocolLibrary {
public:
    virtual ~IProtocolLibrary();

    /// The Uuid of the protocol that this plug-in provides.
    virtual const velk::common::Uuid& uuid() const = 0;

    virtual std::shared_ptr<IProtocolBuilder> builder() const = 0;

    /// The wrapper factory for a protocol of this plug-in that has found its device; never null. The factory
    /// may keep the protocol alive.
    virtual std::shared_ptr<IWrapperFactory> wrapperFactory(std::shared_ptr<IProtocol> protocol) const = 0;
};

} // namespace velk::powerdistribution::protocols
