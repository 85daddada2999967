#include "kit/Session.h"

#include "platform/common/Clock.h"

#include <cstdio>
#include <exception>
#include <sstream>

namespace velk::kit {

using powerdistribution::EPath;
using powerdistribution::Value;
namespace protocols = powerdistribution::protocols;

namespace {

constexpr const char* NEVER_THROWS = "a wrapper or null, never an exception";
constexpr Milliseconds DISCOVERY_PAUSE{50};
constexpr Milliseconds AWAIT_PAUSE{20};

} // namespace

Failure failureOf(const std::function<void()>& action) {
    try {
        action();
        return std::nullopt;
    } catch (const std::exception& failure) {
        return "exception: " + std::string{failure.what()};
    } catch (...) {
        return "an exception that is none of the standard library";
    }
}

Session::WrapperPtr Session::build(const EPath& path, const std::string& text) const {
    if (isAvoided(text)) {
        return nullptr;
    }
    WrapperPtr wrapper;
    ++board.wrappers;
    const Doing doing{board, "buildWrapper", text};
    if (const auto failure = failureOf([&] { wrapper = plugin.factory->buildWrapper(path); })) {
        report.error(text, NEVER_THROWS, *failure);
    }
    return wrapper;
}

Value Session::read(const Wrapper& wrapper, const std::string& text, Failure* failure) const {
    Value value;
    const Doing doing{board, "read", text};
    Failure came = failureOf([&] { value = wrapper.read(); });
    if (failure != nullptr) {
        *failure = std::move(came);
    } else if (came) {
        report.error(text, "a value or an empty one while the device is connected", *came);
    }
    return value;
}

std::optional<protocols::CommunicationStatus> Session::status() const {
    std::optional<protocols::CommunicationStatus> status;
    call("communicationStatus", [&] { status = plugin.protocol->communicationStatus(); });
    return status;
}

bool Session::call(std::string_view operation, const std::function<void()>& action) const {
    const Doing doing{board, operation, operation};
    const auto failure = failureOf(action);
    if (failure) {
        report.error(std::string{operation}, "no exception", *failure);
    }
    return !failure;
}

bool Session::discover() const {
    bool found = false;
    const auto deadline = now() + options.discovery;
    while (!found && now() < deadline) {
        if (!call("discover", [&] { found = plugin.protocol->discover(); })) {
            return false;
        }
        if (!found) {
            velk::common::Clock::system().sleepFor(DISCOVERY_PAUSE);
        }
    }
    if (!found) {
        report.error("discover", "the device to be found within " + textOf(options.discovery), "false");
    }
    return found;
}

bool Session::await(Milliseconds most, const std::function<bool()>& isDone) {
    const auto deadline = now() + most;
    while (!isDone()) {
        if (now() > deadline) {
            return false;
        }
        velk::common::Clock::system().sleepFor(AWAIT_PAUSE);
    }
    return true;
}

std::string textOf(std::chrono::microseconds time) {
    char text[32];
    if (time >= std::chrono::seconds{1}) {
        std::snprintf(text, sizeof text, "%.1f s", std::chrono::duration<double>(time).count());
    } else {
        std::snprintf(text, sizeof text, "%.0f ms", std::chrono::duration<double, std::milli>(time).count());
    }
    return text;
}

std::string textOf(const velk::common::Uuid& uuid) {
    std::ostringstream text;
    text << uuid;
    return text.str();
}

} // namespace velk::kit
