#pragma once

#include "powerdistribution/protocols/IProtocol.h"
#include "powerdistribution/protocols/ROValueWrapper.h"

#include <memory>

namespace velk::powerdistribution::protocols {

/// Since when the link to the device is as it is, as its protocol says.
class VELK_EXPORT CommunicationSinceWrapper : public ROValueWrapper {
public:
    /// `source` is never null; the wrapper keeps it alive.
    explicit CommunicationSinceWrapper(std::shared_ptr<IProtocol> source);
    ~CommunicationSinceWrapper() override;

    /// A UnixTime, never empty.
    Value read() const override;

private:
    std::shared_ptr<IProtocol> protocol;
};

} // namespace velk::powerdistribution::protocols
