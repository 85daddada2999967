#include "plugins/simulator/model/SimulatedClock.h"

namespace velk::simulator {

namespace {

std::chrono::year_month_day dateOf(conv::UnixTime time) {
    const std::chrono::sys_seconds instant{std::chrono::seconds{time.toIntegralType()}};
    return std::chrono::floor<std::chrono::days>(instant);
}

} // namespace

conv::UnixTime SimulatedClock::now() const {
    const auto whole = std::chrono::floor<std::chrono::seconds>(gone).count();
    return conv::UnixTime{begin.toIntegralType() + static_cast<std::uint32_t>(whole)};
}

PeriodStarts SimulatedClock::advance(std::chrono::milliseconds elapsed) {
    constexpr std::uint32_t QUARTER = 900;
    const conv::UnixTime before = now();
    gone += elapsed;
    const conv::UnixTime after = now();
    if (before.toIntegralType() / QUARTER == after.toIntegralType() / QUARTER) {
        return {};
    }
    const auto was = dateOf(before);
    const auto is = dateOf(after);
    return {true, was != is, was.month() != is.month() || was.year() != is.year(), was.year() != is.year()};
}

void SimulatedClock::setShown(conv::UnixTime date) {
    shift = std::int64_t{date.toIntegralType()} - now().toIntegralType();
}

conv::UnixTime SimulatedClock::shown() const {
    return conv::UnixTime{static_cast<std::uint32_t>(now().toIntegralType() + shift)};
}

} // namespace velk::simulator
