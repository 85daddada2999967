#pragma once

#include "plugins/simulator/model/PowerPath.h"

namespace velk::simulator {

/// A PDU: the first input feeds everything, and the electronics take a little.
class Distribution final : public PowerPath {
public:
    Distribution(Plant& plant, const LossDescription& losses) : plant{plant}, losses{losses} {}

    void attach(const PointTable&) override {}
    Feed choose(const PhasePowers& demand, double seconds, conv::UnixTime now) override;
    void settle(const PhasePowers& drawn, double seconds) override;
    Mode mode() const override { return isFed ? Mode::OnLine : Mode::Off; }
    Switch::Surroundings surroundings() const override { return {!isFed, isFed}; }

private:
    Plant& plant;
    LossDescription losses;
    bool isFed{true};
};

} // namespace velk::simulator
