#include "powerdistribution/protocols/WOValueWrapper.h"

namespace velk::powerdistribution::protocols {

WOValueWrapper::~WOValueWrapper() = default;

bool WOValueWrapper::isReadable() const {
    return false;
}

Value WOValueWrapper::read() const {
    return {};
}

DataConfig WOValueWrapper::dataConfig() const {
    return {};
}

} // namespace velk::powerdistribution::protocols
