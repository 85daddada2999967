#include "powerdistribution/connectors/WriteGroup.h"

#include "platform/tessapi/InBandAccessor.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace velk::powerdistribution::connectors {

using velk::common::MutexLock;

namespace {

/// The store is locked for other programs while it takes one group.
constexpr std::size_t LARGEST_GROUP = 128;

template <class Writes>
bool isAmong(const Writes& writes, std::uint64_t channel) {
    return std::any_of(writes.begin(), writes.end(),
                       [channel](const auto& write) { return write.first == channel; });
}

template <class Writes>
void drop(Writes& writes, std::uint64_t channel) {
    std::erase_if(writes, [channel](const auto& write) { return write.first == channel; });
}

} // namespace

void WriteGroup::run(tessapi::InBandAccessor& store, const std::function<void()>& work) {
    {
        MutexLock held{lock};
        if (owner.load() != std::thread::id{}) {
            held.unlock();
            work();
            return;
        }
        target = &store;
        failure = nullptr;
        owner = std::this_thread::get_id();
        isBusy = true;
    }
    try {
        work();
    } catch (...) {
        close(); // the failure of `work` is the one that the caller has to hear of
        throw;
    }
    if (const std::exception_ptr failed = close()) {
        std::rethrow_exception(failed);
    }
}

std::exception_ptr WriteGroup::close() {
    MutexLock held{lock};
    writeAll();
    owner = std::thread::id{};
    isBusy = !waiting.empty();
    return std::exchange(failure, nullptr);
}

void WriteGroup::add(std::uint64_t channel, const qz::CValue& value) {
    MutexLock held{lock};
    waiting.values.emplace_back(channel, value);
    take();
}

void WriteGroup::add(std::uint64_t channel, const AlarmConfig& config) {
    MutexLock held{lock};
    if (hasValueOf(channel)) {
        writeAll(); // a group has its configurations first
    }
    drop(waiting.alarmConfigs, channel); // which has not reached the store
    waiting.alarmConfigs.emplace_back(channel, config);
    take();
}

void WriteGroup::add(std::uint64_t channel, const qz::CMultistateMap& states) {
    MutexLock held{lock};
    if (hasValueOf(channel)) {
        writeAll(); // likewise: an alarm that the value raises is told by the labels of its time
    }
    drop(waiting.states, channel);
    waiting.states.emplace_back(channel, states);
    take();
}

void WriteGroup::add(std::uint64_t device, tessapi::DeviceAttribute attribute, const std::string& text) {
    MutexLock held{lock};
    waiting.attributes.push_back({device, attribute, text});
    take();
}

void WriteGroup::take() {
    if (waiting.size() >= LARGEST_GROUP) {
        writeAll();
    }
    tellFailure();
}

bool WriteGroup::hasValueOf(std::uint64_t channel) const {
    return isAmong(waiting.values, channel);
}

template <class Condition>
void WriteGroup::settleIf(Condition isMeant) {
    if (!isBusy) {
        return;
    }
    MutexLock held{lock};
    if (isMeant(waiting)) {
        writeAll();
    }
    tellFailure();
}

void WriteGroup::settle(std::uint64_t channel) {
    settleIf([channel](const tessapi::StoreWrites& writes) {
        return isAmong(writes.values, channel) || isAmong(writes.alarmConfigs, channel) ||
               isAmong(writes.states, channel);
    });
}

void WriteGroup::settleValue(std::uint64_t channel) {
    settleIf([channel](const tessapi::StoreWrites& writes) { return isAmong(writes.values, channel); });
}

void WriteGroup::settle(std::uint64_t device, tessapi::DeviceAttribute attribute) {
    settleIf([device, attribute](const tessapi::StoreWrites& writes) {
        return std::any_of(writes.attributes.begin(), writes.attributes.end(), [=](const auto& write) {
            return write.device == device && write.attribute == attribute;
        });
    });
}

void WriteGroup::supersede(std::uint64_t channel, bool withStates) {
    settle(channel);
    if (!isBusy) {
        return;
    }
    MutexLock held{lock};
    drop(waiting.alarmConfigs, channel);
    if (withStates) {
        drop(waiting.states, channel);
    }
}

void WriteGroup::tellFailure() {
    if (failure != nullptr && isOpenHere()) {
        std::rethrow_exception(std::exchange(failure, nullptr));
    }
}

void WriteGroup::writeAll() {
    if (waiting.empty()) {
        return;
    }
    try {
        target->apply(waiting);
        waiting = {};
    } catch (const std::exception&) {
        writeEach();
    }
}

void WriteGroup::writeEach() {
    auto& store = *target;
    auto writes = std::exchange(waiting, {});
    isAway = false;
    for (const auto& text : writes.attributes) {
        tryTo([&] { store.setDeviceAttribute(text.device, text.attribute, text.text); });
    }
    for (auto& config : writes.alarmConfigs) {
        if (!tryTo([&] { store.setChannelAlarmConfig(config.first, config.second); })) {
            waiting.alarmConfigs.push_back(std::move(config));
        }
    }
    for (auto& labels : writes.states) {
        if (!tryTo([&] { store.setChannelMultistateMap(labels.first, labels.second); })) {
            waiting.states.push_back(std::move(labels));
        }
    }
    for (const auto& value : writes.values) {
        tryTo([&] { store.setChannelCValue(value.first, value.second); });
    }
}

template <class Write>
bool WriteGroup::tryTo(Write write) {
    if (isAway) {
        return false; // each further attempt would wait for it anew
    }
    try {
        write();
        return true;
    } catch (const std::exception& error) {
        if (failure == nullptr) {
            failure = std::current_exception();
        }
        isAway = dynamic_cast<const boost::system::system_error*>(&error) != nullptr;
        return false;
    }
}

} // namespace velk::powerdistribution::connectors
