#include "powerdistribution/connectors/WriteGroup.h"

#include "platform/tessapi/InBandAccessor.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cstddef>

namespace velk::powerdistribution::connectors {

using velk::common::MutexLock;

namespace {

/// The store is locked for other programs while it takes one group.
constexpr std::size_t LARGEST_GROUP = 128;

} // namespace

void WriteGroup::run(tessapi::InBandAccessor& store, const std::function<void()>& work) {
    {
        MutexLock held{lock};
        if (target != nullptr) {
            held.unlock();
            work();
            return;
        }
        target = &store;
        owner = std::this_thread::get_id();
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
    target = nullptr;
    return std::exchange(failure, nullptr);
}

void WriteGroup::add(std::uint64_t channel, const qz::CValue& value) {
    MutexLock held{lock};
    waiting.emplace_back(channel, value);
    if (waiting.size() >= LARGEST_GROUP) {
        writeAll();
    }
    tellFailure();
}

void WriteGroup::settle(std::uint64_t channel) {
    if (!isOpen()) {
        return;
    }
    MutexLock held{lock};
    if (std::any_of(waiting.begin(), waiting.end(),
                    [channel](const auto& write) { return write.first == channel; })) {
        writeAll();
    }
    tellFailure();
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
        target->setChannelCValues(waiting);
    } catch (const std::exception&) {
        writeEach();
    }
    waiting.clear();
}

void WriteGroup::writeEach() {
    for (const auto& [channel, value] : waiting) {
        try {
            target->setChannelCValue(channel, value);
        } catch (const std::exception& error) {
            if (failure == nullptr) {
                failure = std::current_exception();
            }
            if (dynamic_cast<const boost::system::system_error*>(&error) != nullptr) {
                return; // the store is away, and each further attempt would wait for it anew
            }
        }
    }
}

} // namespace velk::powerdistribution::connectors
