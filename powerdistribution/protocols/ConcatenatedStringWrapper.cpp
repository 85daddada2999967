#include "powerdistribution/protocols/ConcatenatedStringWrapper.h"

#include <string>
#include <utility>

namespace velk::powerdistribution::protocols {

ConcatenatedStringWrapper::ConcatenatedStringWrapper(ValueWrapperPtr firstPart, ValueWrapperPtr secondPart) :
    first{std::move(firstPart)}, second{std::move(secondPart)} {}

ConcatenatedStringWrapper::~ConcatenatedStringWrapper() = default;

Value ConcatenatedStringWrapper::read() const {
    const Value head = first->read();
    const Value tail = second->read();
    std::string text;
    if (const auto* part = head.getIf<std::string>()) {
        text = *part;
    }
    if (const auto* part = tail.getIf<std::string>()) {
        if (!text.empty() && !part->empty()) {
            text += ' ';
        }
        text += *part;
    }
    return text;
}

} // namespace velk::powerdistribution::protocols
