#pragma once

#include <cmath>

namespace velk::simulator {

/// Something that warms up and cools down towards a temperature; after `seconds` it has gone 63 % of the way.
class ThermalMass {
public:
    ThermalMass(double celsius, double seconds) : now{celsius}, constant{seconds} {}

    void step(double seconds, double towards) {
        now = towards + (now - towards) * std::exp(-seconds / constant);
    }
    void set(double celsius) { now = celsius; }
    double celsius() const { return now; }

private:
    double now;
    double constant;
};

} // namespace velk::simulator
