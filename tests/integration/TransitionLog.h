#pragma once

#include "platform/common/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace velk::testing {

/// Takes the place of the standard output while it lives, keeps what is written, and lets a test wait for it.
/// Threads: any.
class TransitionLog : public std::streambuf {
public:
    TransitionLog() : before{std::cout.rdbuf(this)} {}
    ~TransitionLog() override { std::cout.rdbuf(before); }

    std::string text() const VELK_EXCLUDES(mutex) {
        const velk::common::MutexLock lock{mutex};
        return written;
    }

    /// The states entered so far, in order: "DISCOVER ENUMERATE …".
    std::string states() const {
        std::istringstream lines{text()};
        std::string states;
        for (std::string line; std::getline(lines, line);) {
            const auto to = line.rfind(" to ");
            if (line.find("PowerDistributionManager: Transition from ") == 0) {
                states += (states.empty() ? "" : " ") + line.substr(to + 4);
            }
        }
        return states;
    }

    /// True when the state has been entered `times` times, false when that takes more than half a minute.
    bool awaitState(const std::string& state, std::size_t times = 1) VELK_EXCLUDES(mutex) {
        return await(" to " + state + "\n", times);
    }

    bool await(const std::string& wanted, std::size_t times) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{30};
        while (count(wanted) < times) {
            if (changed.wait_until(lock, deadline) == std::cv_status::timeout) {
                return count(wanted) >= times;
            }
        }
        return true;
    }

protected:
    int_type overflow(int_type character) override {
        const char one = traits_type::to_char_type(character);
        xsputn(&one, 1);
        return character;
    }
    std::streamsize xsputn(const char* text, std::streamsize size) override VELK_EXCLUDES(mutex) {
        const velk::common::MutexLock lock{mutex};
        written.append(text, static_cast<std::size_t>(size));
        changed.notify_all();
        return size;
    }

private:
    std::size_t count(const std::string& wanted) const VELK_REQUIRES(mutex) {
        std::size_t found = 0;
        for (auto at = written.find(wanted); at != std::string::npos; at = written.find(wanted, at + 1)) {
            ++found;
        }
        return found;
    }

    std::streambuf* before;
    mutable velk::common::Mutex mutex;
    std::condition_variable_any changed;
    std::string written VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
