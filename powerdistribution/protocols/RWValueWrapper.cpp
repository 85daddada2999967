#include "powerdistribution/protocols/RWValueWrapper.h"

namespace velk::powerdistribution::protocols {

RWValueWrapper::~RWValueWrapper() = default;

bool RWValueWrapper::isReadable() const {
    return true;
}

bool RWValueWrapper::isWritable() const {
    return true;
}

DataConfig RWValueWrapper::dataConfig() const {
    return {};
}

} // namespace velk::powerdistribution::protocols
