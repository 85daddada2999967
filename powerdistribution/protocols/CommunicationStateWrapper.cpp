#include "powerdistribution/protocols/CommunicationStateWrapper.h"

#include <cstdint>
#include <utility>

namespace velk::powerdistribution::protocols {

CommunicationStateWrapper::CommunicationStateWrapper(std::shared_ptr<IProtocol> source) :
    protocol{std::move(source)} {}

CommunicationStateWrapper::~CommunicationStateWrapper() = default;

Value CommunicationStateWrapper::read() const {
    return std::uint32_t{protocol->communicationStatus().state};
}

} // namespace velk::powerdistribution::protocols
