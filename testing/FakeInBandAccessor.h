#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/InBandAccessor.h"
#include "testing/CallLog.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velk::testing {

/// The fault switches of the fake store, by the name of the operation that shall fail.
/// Threads: any.
class FakeStoreFaults {
public:
    /// `operation` throws boost::system::system_error from now on, before it does anything.
    void failOn(const std::string& operation) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        failing.insert(operation);
    }
    void recover() VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        failing.clear();
    }

    void check(const std::string& operation) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        if (failing.count(operation) != 0) {
            throw boost::system::system_error{make_error_code(boost::system::errc::io_error),
                                              "fake store: " + operation};
        }
    }

private:
    mutable velk::common::Mutex mutex;
    std::set<std::string> failing VELK_GUARDED_BY(mutex);
};

/// Channels and attributes in memory. Every call goes into the log, written as "operation(arguments)", before
/// it is answered. Nothing is echoed: a test says what the store reports, with the `deliver…` operations,
/// which call back on the test's own thread.
///
/// A name is a string channel unless `setType` said otherwise; channels count from 1000.
/// Threads: any.
class FakeInBandAccessor : public tessapi::InBandAccessor {
public:
    static constexpr std::uint64_t UNKNOWN_ID = tessapi::ITessAccessor::UNKNOWN_ID;

    struct Channel {
        std::uint64_t device{UNKNOWN_ID};
        std::string name;
        qz::datatype type{qz::datatype::string};
        qz::CValue value; ///< invalid while it is not initialised
        qz::tess::CSingleAlarmConfig alarmConfig;
        qz::CMultistateMap states;
    };

    /// A subscription as it was asked for. Exactly one callback is set.
    struct Subscription {
        std::vector<std::uint64_t> channels;
        std::uint64_t device{UNKNOWN_ID};
        qz::sub::subscription_type type{0};
        ChannelCallback onChannel;
        DeviceCallback onDevice;
        AlarmCallback onAlarm;
    };

    explicit FakeInBandAccessor(std::shared_ptr<CallLog> callLog, std::shared_ptr<FakeStoreFaults> switches) :
        log{std::move(callLog)}, faults{std::move(switches)} {}

    // The test's side.

    /// The type of channels of this name that are made from now on.
    void setType(const std::string& name, qz::datatype type) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        types[name] = type;
    }

    /// Makes a device known; channels of others cannot be made.
    void addDevice(std::uint64_t device) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        devices[device].id = device;
    }
    void removeDevice(std::uint64_t device) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        devices.erase(device);
    }

    /// Writes as another program: neither logged nor reported.
    void setValue(std::uint64_t channel, qz::CValue value) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        channels.at(channel).value = std::move(value);
    }
    void setAttribute(std::uint64_t device, tessapi::DeviceAttribute attribute, const std::string& text)
        VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        devices.at(device).attributes.at(static_cast<std::size_t>(attribute)) = text;
    }
    std::uint64_t addChannel(std::uint64_t device, const std::string& name) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return emplace(device, name);
    }

    /// A copy of the channel of this name; throws std::out_of_range when there is none.
    Channel channel(std::uint64_t device, const std::string& name) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return channels.at(find(device, name));
    }
    std::uint64_t idOf(std::uint64_t device, const std::string& name) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return find(device, name);
    }
    std::vector<std::string> channelNames(std::uint64_t device) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        std::vector<std::string> names;
        for (const auto& [id, entry] : channels) {
            if (entry.device == device) {
                names.push_back(entry.name);
            }
        }
        return names;
    }

    /// Subscriptions that have not been ended, by identifier; the callbacks are copies, so a test can call
    /// one later than the store would.
    std::map<std::uint64_t, Subscription> subscriptions() const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return active;
    }

    void deliverChannel(std::uint64_t channel, const qz::CValue& value) const {
        for (const auto& [id, subscription] : subscriptions()) {
            const auto& list = subscription.channels;
            if (subscription.onChannel && std::find(list.begin(), list.end(), channel) != list.end()) {
                subscription.onChannel(channel, value);
            }
        }
    }

    /// Tells every subscriber of devices, so that a test sees who looks at the identifier.
    void deliverDevice(std::uint64_t device) const {
        for (const auto& [id, subscription] : subscriptions()) {
            if (subscription.onDevice) {
                subscription.onDevice(device);
            }
        }
    }
    void deliverAlarm(std::uint64_t device, const qz::CAlarmUpdate& update) const {
        for (const auto& [id, subscription] : subscriptions()) {
            if (subscription.onAlarm && subscription.device == device) {
                subscription.onAlarm(update);
            }
        }
    }

    // The store's side.

    std::uint64_t emplaceChannel(std::uint64_t device, const std::string& name, bool option) override {
        called("emplaceChannel", textOf(device), name, option);
        velk::common::MutexLock lock{mutex};
        return devices.count(device) == 0 ? UNKNOWN_ID : emplace(device, name);
    }

    std::uint64_t getCatchedChannelId(std::uint64_t device, const std::string& name) override {
        called("getCatchedChannelId", textOf(device), name);
        velk::common::MutexLock lock{mutex};
        return find(device, name);
    }

    qz::datatype getChannelDataType(std::uint64_t channel) override {
        called("getChannelDataType", textOf(channel));
        velk::common::MutexLock lock{mutex};
        const auto entry = channels.find(channel);
        return entry == channels.end() ? qz::datatype::unknown : entry->second.type;
    }

    bool isChannelValueInitialized(std::uint64_t channel) override {
        called("isChannelValueInitialized", textOf(channel));
        velk::common::MutexLock lock{mutex};
        const auto entry = channels.find(channel);
        return entry != channels.end() && entry->second.value.isValid();
    }

    qz::CValue getChannelCValue(std::uint64_t channel) override {
        called("getChannelCValue", textOf(channel));
        velk::common::MutexLock lock{mutex};
        const auto entry = channels.find(channel);
        return entry == channels.end() ? qz::CValue{} : entry->second.value;
    }

    void setChannelCValue(std::uint64_t channel, const qz::CValue& value) override {
        called("setChannelCValue", textOf(channel), value);
        velk::common::MutexLock lock{mutex};
        check(channel, value);
        channels.at(channel).value = value;
    }

    void setChannelAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) override {
        called("setChannelAlarmConfig", textOf(channel), config.triggers.size());
        velk::common::MutexLock lock{mutex};
        if (const auto entry = channels.find(channel); entry != channels.end()) {
            entry->second.alarmConfig = config;
        }
    }

    void setChannelMultistateMap(std::uint64_t channel, const qz::CMultistateMap& states) override {
        called("setChannelMultistateMap", textOf(channel), states.entries().size());
        velk::common::MutexLock lock{mutex};
        if (const auto entry = channels.find(channel); entry != channels.end()) {
            entry->second.states = states;
        }
    }

    qz::CDevice getDevice(std::uint64_t device) override {
        called("getDevice", textOf(device));
        velk::common::MutexLock lock{mutex};
        const auto entry = devices.find(device);
        return entry == devices.end() ? qz::CDevice{} : entry->second;
    }

    std::string getDeviceAttribute(std::uint64_t device, tessapi::DeviceAttribute attribute) override {
        called("getDeviceAttribute", textOf(device), static_cast<std::uint32_t>(attribute));
        velk::common::MutexLock lock{mutex};
        const auto entry = devices.find(device);
        return entry == devices.end() ? std::string{} : textOf(entry->second, attribute);
    }
    std::string getDeviceAttribute(const qz::CDevice& device, tessapi::DeviceAttribute attribute) override {
        return textOf(device, attribute);
    }

    void setDeviceAttribute(std::uint64_t device, tessapi::DeviceAttribute attribute,
                            const std::string& text) override {
        called("setDeviceAttribute", textOf(device), static_cast<std::uint32_t>(attribute), text);
        velk::common::MutexLock lock{mutex};
        const auto entry = devices.find(device);
        if (entry != devices.end() && static_cast<std::size_t>(attribute) < qz::CDevice::ATTRIBUTE_COUNT) {
            entry->second.attributes[static_cast<std::size_t>(attribute)] = text;
        }
    }

    void removeAllChannelsExcept(std::uint64_t device, const std::vector<std::uint64_t>& keep) override {
        called("removeAllChannelsExcept", textOf(device), textOf(keep));
        velk::common::MutexLock lock{mutex};
        for (auto entry = channels.begin(); entry != channels.end();) {
            const bool kept = entry->second.device != device ||
                              std::find(keep.begin(), keep.end(), entry->first) != keep.end();
            entry = kept ? std::next(entry) : channels.erase(entry);
        }
    }

    void subscribeMultipleChannels(const std::vector<std::uint64_t>& list, ChannelCallback callback,
                                   qz::sub::subscription_type type, std::uint64_t* subscription) override {
        called("subscribeMultipleChannels", textOf(list), type);
        add({list, UNKNOWN_ID, type, std::move(callback), {}, {}}, subscription);
    }

    void subscribeDevice(std::uint64_t device, DeviceCallback callback, qz::sub::subscription_type type,
                         bool option, std::uint64_t* subscription) override {
        called("subscribeDevice", textOf(device), type, option);
        add({{}, device, type, {}, std::move(callback), {}}, subscription);
    }

    void subscribeDeviceAlarms(std::uint64_t device, AlarmCallback callback,
                               std::uint64_t* subscription) override {
        called("subscribeDeviceAlarms", textOf(device));
        add({{}, device, 0, {}, {}, std::move(callback)}, subscription);
    }

    void setChannelCValues(const std::vector<std::pair<std::uint64_t, qz::CValue>>& values) override {
        std::ostringstream list;
        for (const auto& [channel, value] : values) {
            list << (&value == &values.front().second ? "" : " ") << textOf(channel) << "=" << value;
        }
        called("setChannelCValues", list.str());
        velk::common::MutexLock lock{mutex};
        for (const auto& [channel, value] : values) {
            check(channel, value);
        }
        for (const auto& [channel, value] : values) {
            channels.at(channel).value = value;
        }
    }

    std::vector<std::uint64_t> emplaceChannels(std::uint64_t device,
                                               const std::vector<std::string>& names) override {
        std::string list;
        for (const std::string& name : names) {
            list += ", " + name;
        }
        called("emplaceChannels", textOf(device) + list);
        velk::common::MutexLock lock{mutex};
        std::vector<std::uint64_t> ids;
        for (const std::string& name : names) {
            ids.push_back(devices.count(device) == 0 ? UNKNOWN_ID : emplace(device, name));
        }
        return ids;
    }

    void unsubscribe(std::uint64_t subscription) override {
        called("unsubscribe", subscription);
        velk::common::MutexLock lock{mutex};
        active.erase(subscription);
    }

private:
    static std::string textOf(std::uint64_t id) { return id == UNKNOWN_ID ? "unknown" : std::to_string(id); }
    static std::string textOf(const std::vector<std::uint64_t>& ids) {
        std::string text = "[";
        for (const std::uint64_t id : ids) {
            text += (text.size() == 1 ? "" : " ") + textOf(id);
        }
        return text + "]";
    }
    static std::string textOf(const qz::CDevice& device, tessapi::DeviceAttribute attribute) {
        const auto index = static_cast<std::size_t>(attribute);
        return index < device.attributes.size() ? device.attributes[index] : std::string{};
    }

    template <typename First, typename... Others>
    void called(const std::string& operation, const First& first, const Others&... others) const {
        std::ostringstream text;
        text << operation << "(" << first;
        ((text << ", " << others), ...);
        text << ")";
        log->add(text.str());
        faults->check(operation);
    }

    /// Throws as a store does that cannot take `value`.
    void check(std::uint64_t channel, const qz::CValue& value) const VELK_REQUIRES(mutex) {
        const auto entry = channels.find(channel);
        if (entry == channels.end()) {
            throw std::runtime_error{"channel " + textOf(channel) + " is gone"};
        }
        if (value.type() != entry->second.type) {
            throw std::invalid_argument{"channel " + textOf(channel) + " is of another type"};
        }
    }

    std::uint64_t find(std::uint64_t device, const std::string& name) const VELK_REQUIRES(mutex) {
        const auto entry = std::find_if(channels.begin(), channels.end(), [&](const auto& candidate) {
            return candidate.second.device == device && candidate.second.name == name;
        });
        return entry == channels.end() ? UNKNOWN_ID : entry->first;
    }

    std::uint64_t emplace(std::uint64_t device, const std::string& name) VELK_REQUIRES(mutex) {
        const std::uint64_t known = find(device, name);
        if (known != UNKNOWN_ID) {
            return known;
        }
        const auto type = types.find(name);
        channels[nextChannel] = {device, name, type == types.end() ? qz::datatype::string : type->second,
                                 {},     {},   {}};
        return nextChannel++;
    }

    void add(Subscription subscription, std::uint64_t* identifier) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        if (identifier != nullptr) {
            *identifier = nextSubscription;
        }
        active.emplace(nextSubscription++, std::move(subscription));
    }

    const std::shared_ptr<CallLog> log;
    const std::shared_ptr<FakeStoreFaults> faults;
    mutable velk::common::Mutex mutex;
    std::map<std::string, qz::datatype> types VELK_GUARDED_BY(mutex);
    std::map<std::uint64_t, Channel> channels VELK_GUARDED_BY(mutex);
    std::map<std::uint64_t, qz::CDevice> devices VELK_GUARDED_BY(mutex);
    std::map<std::uint64_t, Subscription> active VELK_GUARDED_BY(mutex);
    std::uint64_t nextChannel VELK_GUARDED_BY(mutex){1000};
    std::uint64_t nextSubscription VELK_GUARDED_BY(mutex){1};
};

} // namespace velk::testing
