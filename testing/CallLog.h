#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace velk::testing {

/// What several fakes were asked, in one order, so that a test can prove who came first.
/// Threads: any.
class CallLog {
public:
    void add(std::string call) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        list.push_back(std::move(call));
    }

    /// A copy of all calls so far.
    std::vector<std::string> calls() const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return list;
    }

    /// How often exactly this call came.
    std::size_t count(const std::string& call) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return static_cast<std::size_t>(std::count(list.begin(), list.end(), call));
    }

    void clear() VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        list.clear();
    }

private:
    mutable velk::common::Mutex mutex;
    std::vector<std::string> list VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
