#include "powerdistribution/protocols/StatusTests.h"

#include <cstdint>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

namespace velk::powerdistribution::handlers {

namespace {

/// Whether the wrapper reads as `expected`; a null wrapper throws `nullText`.
template <typename T>
bool readsAs(const protocols::ValueWrapperPtr& wrapper, T expected, const char* nullText) {
    if (!wrapper) {
        throw std::runtime_error{nullText};
    }
    const Value value = wrapper->read();
    return value.hasValue() && value.get<T>() == expected;
}

/// One line in one write, so that lines of several threads do not mix.
void report(std::string text, const std::exception& failure) {
    text += failure.what();
    text += '\n';
    std::cerr << text << std::flush;
}

} // namespace

bool isComOk(const protocols::ValueWrapperPtr& wrapper) {
    try {
        return readsAs<std::uint32_t>(wrapper, 2, "No wrapper defined for CommunicationState");
    } catch (const std::exception& failure) {
        report("FATAL ERROR - while accessing the CommunicationState status: exception ", failure);
        return false;
    }
}

bool isBoolStatus(const protocols::ValueWrapperPtr& wrapper) {
    try {
        return readsAs<bool>(wrapper, true, "No wrapper defined");
    } catch (const std::exception& failure) {
        report("FATAL ERROR - while accessing one status: exception ", failure);
        return false;
    }
}

bool isOnBattery(const protocols::ValueWrapperPtr& wrapper) {
    try {
        return readsAs<std::uint32_t>(wrapper, 3, "No wrapper defined for onBatteryState");
    } catch (const std::exception& failure) {
        report("FATAL ERROR - while accessing the onBatteryState status: exception ", failure);
        return false;
    }
}

} // namespace velk::powerdistribution::handlers
