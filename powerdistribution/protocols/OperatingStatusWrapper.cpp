#include "powerdistribution/protocols/OperatingStatusWrapper.h"

#include "powerdistribution/protocols/OperatingStatus.h"
#include "powerdistribution/protocols/StatusTests.h"

#include <utility>

namespace velk::powerdistribution::protocols {

OperatingStatusWrapper::OperatingStatusWrapper(ValueWrapperPtr statusWrapper, ValueWrapperPtr comWrapper) :
    status{std::move(statusWrapper)}, com{std::move(comWrapper)} {}

OperatingStatusWrapper::~OperatingStatusWrapper() = default;

Value OperatingStatusWrapper::read() const {
    if (!handlers::isComOk(com)) {
        return operatingstatus::UNKNOWN;
    }
    return handlers::isBoolStatus(status) ? operatingstatus::IN_SERVICE : operatingstatus::STOPPED;
}

} // namespace velk::powerdistribution::protocols
