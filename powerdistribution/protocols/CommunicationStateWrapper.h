#pragma once

#include "powerdistribution/protocols/IProtocol.h"
#include "powerdistribution/protocols/ROValueWrapper.h"

#include <memory>

namespace velk::powerdistribution::protocols {

/// How the link to the device is, as its protocol says.
class VELK_EXPORT CommunicationStateWrapper : public ROValueWrapper {
public:
    /// `source` is never null; the wrapper keeps it alive.
    explicit CommunicationStateWrapper(std::shared_ptr<IProtocol> source);
    ~CommunicationStateWrapper() override;

    /// A uint32, never empty.
    Value read() const override;

private:
    std::shared_ptr<IProtocol> protocol;
};

} // namespace velk::powerdistribution::protocols
