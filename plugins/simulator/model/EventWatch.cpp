#include "plugins/simulator/model/EventWatch.h"

#include <utility>

namespace velk::simulator {

void EventWatch::watch(std::uint16_t code, Severity severity, std::function<bool()> condition) {
    const bool holds = condition();
    all.push_back({code, severity, std::move(condition), holds});
}

void EventWatch::step(EventLog& log, conv::UnixTime now, std::uint16_t mode) {
    for (Watched& watched : all) {
        const bool holds = watched.condition();
        if (holds != watched.held) {
            watched.held = holds;
            log.add({0, watched.code, now, static_cast<std::uint8_t>(holds ? 1 : 0), mode, 0, 0,
                     static_cast<std::int32_t>(watched.severity)});
        }
    }
}

} // namespace velk::simulator
