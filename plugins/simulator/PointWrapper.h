#pragma once

#include "plugins/simulator/world/DeviceLink.h"
#include "powerdistribution/protocols/RWValueWrapper.h"

#include <memory>
#include <string>

namespace velk::simulator {

/// One data point of the device. Holds no value itself: each call goes over the link.
class PointWrapper final : public powerdistribution::protocols::RWValueWrapper {
public:
    /// What is read while the device cannot be reached.
    enum class WhileLost : std::uint8_t {
        Empty, ///< nothing, so that an old value is never taken for a fresh one
        Last,  ///< the last answer
    };

    PointWrapper(std::shared_ptr<DeviceLink> wire, std::string text, const PointInfo& told,
                 WhileLost behaviour);
    ~PointWrapper() override;

    bool isReadable() const override { return info.readable; }
    bool isWritable() const override { return info.writable; }
    powerdistribution::Value read() const override;

    /// True when the device has taken the value; it reads so at once.
    bool write(const powerdistribution::Value& value) override;

private:
    std::shared_ptr<DeviceLink> link;
    std::string path;
    PointInfo info;
    WhileLost whileLost;
};

} // namespace velk::simulator
