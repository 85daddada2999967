#pragma once

#include "plugins/simulator/model/Ups.h"

namespace velk::simulator {

/// A UPS that passes the mains on through a voltage regulator, which raises a low voltage and lowers a high
/// one.
class LineInteractiveUps final : public Ups {
public:
    LineInteractiveUps(Plant& plant, const LossDescription& losses) : Ups{plant, losses} {}

    void attach(const PointTable& points) override;

protected:
    std::optional<Mode> directMode() const override { return std::nullopt; }
    Mode mainsMode() const override;
    std::optional<Mode> lastResort() const override { return std::nullopt; }
    bool areConvertersGood() const override { return !inverterFailure.get(); }
    Feed feedOf(Mode mode) const override;
    double lossesOf(Mode mode, double output) const override;
    void draw(Mode mode, const PhasePowers& drawn, double lost, double charging) override;
    void followConverters(Mode mode, double lost) override;

private:
    static constexpr double BOOST = 1.15;
    static constexpr double BUCK = 0.87;

    Knob<float> lowDetection;
    Knob<float> highDetection;
    Knob<float> nominalVoltage;
    Knob<bool> inverterFailure;
};

} // namespace velk::simulator
