#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/core/Value.h"
#include "powerdistribution/protocols/DataConfig.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velk::testing {

/// One data point of a pretended device: its value, its fault switches, and what was done with it. All
/// `FakeWrapper`s of one path share one point, so a test keeps hold of it while a handler owns the wrapper.
///
/// Threads: any; a test may change the value while a handler polls it.
class FakePoint {
public:
    using Value = velk::powerdistribution::Value;
    using DataConfig = velk::powerdistribution::protocols::DataConfig;

    explicit FakePoint(Value first = {}) : present{std::move(first)} {}

    // The device's side.

    /// What `read` gives from now on; an empty one means no value now.
    void setValue(Value next) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        present = std::move(next);
    }
    Value value() const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return present;
    }

    // The switches. At first a point is readable and writable and fails nowhere.

    void setReadable(bool yes) VELK_EXCLUDES(mutex) { set(readable, yes); }
    void setWritable(bool yes) VELK_EXCLUDES(mutex) { set(writable, yes); }

    /// `write` gives false and changes nothing.
    void refuseWrites(bool yes) VELK_EXCLUDES(mutex) { set(refusing, yes); }

    /// `write` gives true and changes nothing, as a device that takes its time.
    void ignoreWrites(bool yes) VELK_EXCLUDES(mutex) { set(ignoring, yes); }

    /// `read` throws std::runtime_error with this text; an empty text ends it.
    void throwOnRead(std::string text) VELK_EXCLUDES(mutex) { set(readFailure, std::move(text)); }

    /// `write` throws std::runtime_error with this text; an empty text ends it.
    void throwOnWrite(std::string text) VELK_EXCLUDES(mutex) { set(writeFailure, std::move(text)); }

    void setDataConfig(DataConfig next) VELK_EXCLUDES(mutex) { set(config, std::move(next)); }

    // What was done.

    /// Calls of `read`, also those that threw.
    std::size_t reads() const VELK_EXCLUDES(mutex) { return get(readCount); }

    /// Calls of `write`, also those that were refused or threw.
    std::size_t writes() const VELK_EXCLUDES(mutex) { return get(asked).size(); }

    /// The arguments of all calls of `write`, in order.
    std::vector<Value> written() const VELK_EXCLUDES(mutex) { return get(asked); }

    // The wrapper's side: used by `FakeWrapper`.

    bool isReadable() const VELK_EXCLUDES(mutex) { return get(readable); }
    bool isWritable() const VELK_EXCLUDES(mutex) { return get(writable); }
    DataConfig dataConfig() const VELK_EXCLUDES(mutex) { return get(config); }

    Value read() VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        ++readCount;
        throwIfSet(readFailure);
        return present;
    }

    bool write(const Value& next) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        asked.push_back(next);
        throwIfSet(writeFailure);
        if (refusing) {
            return false;
        }
        if (!ignoring) {
            present = next;
        }
        return true;
    }

private:
    template <typename T>
    void set(T& field, T next) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        field = std::move(next);
    }

    template <typename T>
    T get(const T& field) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return field;
    }

    static void throwIfSet(const std::string& text) {
        if (!text.empty()) {
            throw std::runtime_error{text};
        }
    }

    // Every field is touched under `mutex` only; `set` and `get` take them by reference, which the analysis
    // of guarded fields does not follow.
    mutable velk::common::Mutex mutex;
    Value present;
    bool readable{true};
    bool writable{true};
    bool refusing{false};
    bool ignoring{false};
    std::string readFailure;
    std::string writeFailure;
    DataConfig config;
    std::size_t readCount{0};
    std::vector<Value> asked;
};

} // namespace velk::testing
