#include "powerdistribution/protocols/ROConverter.h"

#include <utility>

namespace velk::powerdistribution::protocols {

ROConverter::ROConverter(ValueWrapperPtr inner) : wrapper{std::move(inner)} {}

ROConverter::~ROConverter() = default;

Value ROConverter::read() const {
    if (!isReadable()) {
        return {};
    }
    const Value raw = wrapper->read();
    return raw.hasValue() ? rawToConverted(raw) : Value{};
}

} // namespace velk::powerdistribution::protocols
