#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/protocols/IProtocol.h"

#include <memory>

namespace velk::powerdistribution::protocols {

/// Makes the protocol of a plug-in. The order of the operations is contract.
class VELK_EXPORT IProtocolBuilder {
public:
    virtual ~IProtocolBuilder();
    virtual std::unique_ptr<IProtocol> create() const = 0;
};

} // namespace velk::powerdistribution::protocols
