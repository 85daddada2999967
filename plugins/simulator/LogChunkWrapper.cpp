#include "plugins/simulator/LogChunkWrapper.h"

#include <utility>

namespace velk::simulator {

using powerdistribution::Value;

LogChunkWrapper::LogChunkWrapper(std::shared_ptr<DeviceLink> wire) : link{std::move(wire)} {}

LogChunkWrapper::~LogChunkWrapper() = default;

Value LogChunkWrapper::read() const {
    return link->askLog(last);
}

bool LogChunkWrapper::write(const Value& value) {
    const auto* number = value.getIf<std::uint32_t>();
    if (number == nullptr) {
        return false;
    }
    last = *number;
    return true;
}

} // namespace velk::simulator
