#include "powerdistribution/protocols/DummyWrapper.h"

namespace velk::powerdistribution::protocols {

DummyWrapper::~DummyWrapper() = default;

bool DummyWrapper::isReadable() const {
    return false;
}

bool DummyWrapper::isWritable() const {
    return false;
}

Value DummyWrapper::read() const {
    return {};
}

bool DummyWrapper::write(const Value& /*value*/) {
    return false;
}

DataConfig DummyWrapper::dataConfig() const {
    return {};
}

} // namespace velk::powerdistribution::protocols
