#include "powerdistribution/protocols/CommunicationSinceWrapper.h"

#include <utility>

namespace velk::powerdistribution::protocols {

CommunicationSinceWrapper::CommunicationSinceWrapper(std::shared_ptr<IProtocol> source) :
    protocol{std::move(source)} {}

CommunicationSinceWrapper::~CommunicationSinceWrapper() = default;

Value CommunicationSinceWrapper::read() const {
    return protocol->communicationStatus().since;
}

} // namespace velk::powerdistribution::protocols
