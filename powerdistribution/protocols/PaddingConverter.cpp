#include "powerdistribution/protocols/PaddingConverter.h"

#include <string>
#include <utility>

namespace velk::powerdistribution::protocols {

PaddingConverter::PaddingConverter(ValueWrapperPtr inner, std::uint32_t fieldSize) :
    Converter{std::move(inner)}, size{fieldSize} {}

PaddingConverter::~PaddingConverter() = default;

Value PaddingConverter::convertedToRaw(const Value& value) const {
    std::string text = value.get<std::string>();
    text.resize(size, ' ');
    return text;
}

Value PaddingConverter::rawToConverted(const Value& raw) const {
    return raw;
}

} // namespace velk::powerdistribution::protocols
