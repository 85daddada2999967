#pragma once

#include "platform/common/UnixTime.h"

namespace velk::simulator {

/// The periods that begin with this step.
struct PeriodStarts {
    bool quarter{false}; ///< of an hour, over which the average is taken
    bool day{false};
    bool month{false};
    bool year{false};
};

/// What has flowed through a circuit since the simulation began, in Wh, and since each period began.
class EnergyCounter {
public:
    /// Integrates `watts` over `seconds`.
    void count(double watts, double seconds) { sum += watts * seconds / 3600; }

    void begin(const PeriodStarts& starts) {
        if (starts.quarter) {
            lastQuarter = sum - atQuarter;
            atQuarter = sum;
        }
        atDay = starts.day ? sum : atDay;
        atMonth = starts.month ? sum : atMonth;
        atYear = starts.year ? sum : atYear;
    }

    double total() const { return sum; }
    double today() const { return sum - atDay; }
    double thisMonth() const { return sum - atMonth; }
    double thisYear() const { return sum - atYear; }

    /// Of the last whole quarter of an hour, as energy of an hour.
    double average() const { return lastQuarter * 4; }

private:
    double sum{0};
    double lastQuarter{0};
    double atQuarter{0};
    double atDay{0};
    double atMonth{0};
    double atYear{0};
};

} // namespace velk::simulator
