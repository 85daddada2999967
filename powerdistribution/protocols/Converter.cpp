#include "powerdistribution/protocols/Converter.h"

#include <utility>

namespace velk::powerdistribution::protocols {

Converter::Converter(ValueWrapperPtr inner) : wrapper{std::move(inner)} {}

Converter::~Converter() = default;

bool Converter::isReadable() const {
    return wrapper->isReadable();
}

bool Converter::isWritable() const {
    return wrapper->isWritable();
}

Value Converter::read() const {
    if (!isReadable()) {
        return {};
    }
    const Value raw = wrapper->read();
    return raw.hasValue() ? rawToConverted(raw) : Value{};
}

bool Converter::write(const Value& value) {
    if (!isWritable() || !value.hasValue()) {
        return false;
    }
    const Value raw = convertedToRaw(value);
    return raw.hasValue() && wrapper->write(raw);
}

DataConfig Converter::dataConfig() const {
    return {};
}

} // namespace velk::powerdistribution::protocols
