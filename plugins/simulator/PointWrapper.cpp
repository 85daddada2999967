#include "plugins/simulator/PointWrapper.h"

#include <utility>

namespace velk::simulator {

using powerdistribution::Value;

PointWrapper::PointWrapper(std::shared_ptr<DeviceLink> wire, std::string text, const PointInfo& told,
                           WhileLost behaviour) :
    link{std::move(wire)}, path{std::move(text)}, info{told}, whileLost{behaviour} {}

PointWrapper::~PointWrapper() = default;

Value PointWrapper::read() const {
    if (!info.readable) {
        return {};
    }
    return whileLost == WhileLost::Last ? link->askOrRemember(path) : link->ask(path);
}

bool PointWrapper::write(const Value& value) {
    return info.writable && link->tell(path, value);
}

} // namespace velk::simulator
