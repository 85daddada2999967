#pragma once

#include "plugins/simulator/world/DeviceLink.h"
#include "powerdistribution/protocols/RWValueWrapper.h"

#include <cstdint>
#include <memory>

namespace velk::simulator {

/// The device's event log, a piece at a time. Where the next piece begins is kept here and not in the device,
/// so that two readers do not disturb each other.
class LogChunkWrapper final : public powerdistribution::protocols::RWValueWrapper {
public:
    explicit LogChunkWrapper(std::shared_ptr<DeviceLink> wire);
    ~LogChunkWrapper() override;

    /// An InternalLogChunk of the events behind the number written last; empty while the device cannot be
    /// reached.
    powerdistribution::Value read() const override;
    /// True for a uint32.
    bool write(const powerdistribution::Value& value) override;

private:
    std::shared_ptr<DeviceLink> link;
    std::uint32_t last{0};
};

} // namespace velk::simulator
