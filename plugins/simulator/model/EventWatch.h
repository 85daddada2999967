#pragma once

#include "plugins/simulator/model/EventLog.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace velk::simulator {

/// Writes an event into the log whenever a condition begins or ends.
class EventWatch {
public:
    /// How grave an event is, as the log tells it.
    enum class Severity : std::uint8_t { Information = 1, Warning = 2, Critical = 3 };

    /// `code` is the device's number for the event. What holds now is no event.
    void watch(std::uint16_t code, Severity severity, std::function<bool()> condition);

    /// Enters what has changed since the last call; `mode` is the device's at that time.
    void step(EventLog& log, conv::UnixTime now, std::uint16_t mode);

private:
    struct Watched {
        std::uint16_t code;
        Severity severity;
        std::function<bool()> condition;
        bool held;
    };

    std::vector<Watched> all;
};

} // namespace velk::simulator
