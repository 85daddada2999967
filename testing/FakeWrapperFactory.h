#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/protocols/IWrapperFactory.h"
#include "testing/CallLog.h"
#include "testing/FakePoint.h"
#include "testing/FakeWrapper.h"

#include <cstddef>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velk::testing {

/// A pretended device: the data points that a test has added, by path. A path is known by its text, so ranges
/// and any-index nodes match only themselves.
///
///     FakeWrapperFactory device;
///     FakePoint& mode = device.add({EStatus::Mode}, Value{2u});
///     ...
///     mode.setValue(Value{3u});
///
/// Wrappers hold their point and may outlive the factory.
/// Threads: any.
class FakeWrapperFactory : public velk::powerdistribution::protocols::IWrapperFactory {
public:
    using EPath = velk::powerdistribution::EPath;
    using Value = velk::powerdistribution::Value;

    explicit FakeWrapperFactory(velk::common::Uuid protocolUuid = velk::common::Uuid::VELK_NAMESPACE) :
        uuid{protocolUuid} {}

    /// Serves `path` from now on; the point lives as long as the factory or a wrapper of it. A path added
    /// twice gets a new point.
    FakePoint& add(const EPath& path, Value value = {}) VELK_EXCLUDES(mutex) {
        auto point = std::make_shared<FakePoint>(std::move(value));
        FakePoint& added = *point;
        velk::common::MutexLock lock{mutex};
        points[path.nodesToString()] = std::move(point);
        return added;
    }

    /// Serves `path` no longer; wrappers that are out keep working.
    void remove(const EPath& path) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        points.erase(path.nodesToString());
    }

    /// The point of a path; throws std::out_of_range when it was never added.
    FakePoint& point(const EPath& path) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return *points.at(path.nodesToString());
    }

    /// `buildWrapper` throws std::runtime_error with `text` for this path; an empty text ends it.
    void throwOnBuild(const EPath& path, std::string text) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        failures[path.nodesToString()] = std::move(text);
    }

    /// The texts of all paths that were asked for, in order, also those that are not served.
    std::vector<std::string> asked() const { return log.calls(); }

    /// How often `path` was asked for.
    std::size_t askedFor(const EPath& path) const { return log.count(path.nodesToString()); }
    void forgetAsked() { log.clear(); }

    const velk::common::Uuid& protocolUuid() const override { return uuid; }

    velk::powerdistribution::protocols::ValueWrapperPtr buildWrapper(const EPath& path) const override
        VELK_EXCLUDES(mutex) {
        const std::string text = path.nodesToString();
        log.add(text);
        velk::common::MutexLock lock{mutex};
        if (const auto failure = failures.find(text); failure != failures.end() && !failure->second.empty()) {
            throw std::runtime_error{failure->second};
        }
        const auto served = points.find(text);
        return served == points.end() ? nullptr : FakeWrapper::on(served->second);
    }

private:
    const velk::common::Uuid uuid;
    mutable CallLog log;
    mutable velk::common::Mutex mutex;
    std::map<std::string, std::shared_ptr<FakePoint>> points VELK_GUARDED_BY(mutex);
    std::map<std::string, std::string> failures VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
