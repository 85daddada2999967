#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

ROValueWrapper::~ROValueWrapper() = default;

bool ROValueWrapper::isWritable() const {
    return false;
}

bool ROValueWrapper::write(const Value& /*value*/) {
    return false;
}

DataConfig ROValueWrapper::dataConfig() const {
    return {};
}

} // namespace velk::powerdistribution::protocols
