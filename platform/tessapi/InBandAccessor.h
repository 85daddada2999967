#pragma once

#include "platform/common/Export.h"
#include "platform/qz/CAlarmUpdate.h"
#include "platform/qz/CDevice.h"
#include "platform/qz/CMultistateMap.h"
#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"
#include "platform/qz/subscription_type.h"
#include "platform/tessapi/DeviceAttribute.h"
#include "platform/tessapi/StoreWrites.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tessapi {

/// The channels and attributes of the store's devices, and the news of their changes.
///
/// Callbacks come only from the one client thread of their accessor, in the order of the writes, holding no
/// lock of the store, and never from inside a call of the subscriber. A program's own writes are echoed to
/// it. Nothing is delivered at subscription. A callback that throws is reported in one line on the standard
/// error and stays subscribed. Threads: every operation may come from any thread, also from inside a
/// callback.
class VELK_EXPORT InBandAccessor {
public:
    using ChannelCallback = std::function<void(std::uint64_t channel, qz::CValue value)>;
    using DeviceCallback = std::function<void(std::uint64_t device)>;
    using AlarmCallback = std::function<void(const qz::CAlarmUpdate& update)>;

    virtual ~InBandAccessor();

    /// Finds or creates the channel and gives its identifier; all ones for an unknown device. The catalogue
    /// chooses type and labels by the name; a name that it does not know is a string. `option` is reserved.
    virtual std::uint64_t emplaceChannel(std::uint64_t device, const std::string& name, bool option) = 0;

    /// The identifier of an existing channel; all ones when there is none.
    virtual std::uint64_t getCatchedChannelId(std::uint64_t device, const std::string& name) = 0;

    /// `datatype::unknown` for an unknown channel.
    virtual qz::datatype getChannelDataType(std::uint64_t channel) = 0;

    /// False for an unknown channel.
    virtual bool isChannelValueInitialized(std::uint64_t channel) = 0;

    /// Invalid for an unknown channel and for one without a value.
    virtual qz::CValue getChannelCValue(std::uint64_t channel) = 0;

    /// Throws std::invalid_argument when `value` is of another type than the channel, which keeps its value,
    /// and std::runtime_error that names the channel when it is gone.
    virtual void setChannelCValue(std::uint64_t channel, const qz::CValue& value) = 0;

    /// Replaces the triggers; the present value is evaluated at once. Nothing happens for an unknown channel.
    virtual void setChannelAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) = 0;

    /// Replaces the names of the channel's states. Nothing happens for an unknown channel.
    virtual void setChannelMultistateMap(std::uint64_t channel, const qz::CMultistateMap& states) = 0;

    /// A device with the all-ones identifier when it is unknown.
    virtual qz::CDevice getDevice(std::uint64_t device) = 0;

    /// "" for an unknown device or attribute. The second form reads what was there when `device` was read.
    virtual std::string getDeviceAttribute(std::uint64_t device, DeviceAttribute attribute) = 0;
    virtual std::string getDeviceAttribute(const qz::CDevice& device, DeviceAttribute attribute) = 0;

    /// Nothing happens for an unknown device or attribute.
    virtual void setDeviceAttribute(std::uint64_t device, DeviceAttribute attribute,
                                    const std::string& text) = 0;

    /// Removes every channel of `device` that is not in `keep`, silently for its subscribers.
    virtual void removeAllChannelsExcept(std::uint64_t device, const std::vector<std::uint64_t>& keep) = 0;

    /// One subscription over all listed channels; `type` is qz::sub::everyWrite or qz::sub::changes. Its
    /// identifier is written to `*subscription` before the first call, unless that is null. A subscription on
    /// something unknown gets a valid identifier and never fires.
    virtual void subscribeMultipleChannels(const std::vector<std::uint64_t>& channels,
                                           ChannelCallback callback, qz::sub::subscription_type type,
                                           std::uint64_t* subscription) = 0;

    /// One call per attribute write of `device` (`type` is qz::sub::attributes). `option` is reserved.
    virtual void subscribeDevice(std::uint64_t device, DeviceCallback callback,
                                 qz::sub::subscription_type type, bool option,
                                 std::uint64_t* subscription) = 0;

    /// One call whenever the set of active alarms of `device` has changed.
    virtual void subscribeDeviceAlarms(std::uint64_t device, AlarmCallback callback,
                                       std::uint64_t* subscription) = 0;

    /// Ends a subscription: no new call starts after it. It returns at once and does not wait for a running
    /// call. Nothing happens for an unknown subscription.
    virtual void unsubscribe(std::uint64_t subscription) = 0;

    /// `setChannelCValue` for several channels at once: all or, when one of them throws, none.
    virtual void setChannelCValues(const std::vector<std::pair<std::uint64_t, qz::CValue>>& values) = 0;

    /// `emplaceChannel` for several channels of a device at once, in their order.
    virtual std::vector<std::uint64_t> emplaceChannels(std::uint64_t device,
                                                       const std::vector<std::string>& names);

    /// Throws as the operations that make one of `writes` alone do. Then none of its values is written; of
    /// the other kinds some may be.
    virtual void apply(const StoreWrites& writes);
};

} // namespace tessapi
