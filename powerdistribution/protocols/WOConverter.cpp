#include "powerdistribution/protocols/WOConverter.h"

#include <utility>

namespace velk::powerdistribution::protocols {

WOConverter::WOConverter(ValueWrapperPtr inner) : wrapper{std::move(inner)} {}

WOConverter::~WOConverter() = default;

bool WOConverter::write(const Value& value) {
    if (!isWritable() || !value.hasValue()) {
        return false;
    }
    const Value raw = convertedToRaw(value);
    return raw.hasValue() && wrapper->write(raw);
}

} // namespace velk::powerdistribution::protocols
