#include "powerdistribution/protocols/FriendlyNameWrapper.h"

#include <utility>

namespace velk::powerdistribution::protocols {

FriendlyNameWrapper::FriendlyNameWrapper(std::string first) : name{std::move(first)} {}

FriendlyNameWrapper::~FriendlyNameWrapper() = default;

Value FriendlyNameWrapper::read() const {
    return name;
}

bool FriendlyNameWrapper::write(const Value& value) {
    const auto* text = value.getIf<std::string>();
    if (text == nullptr) {
        return false;
    }
    name = *text;
    return true;
}

} // namespace velk::powerdistribution::protocols
