#pragma once

#include "plugins/simulator/model/Ups.h"

namespace velk::simulator {

/// A double-conversion UPS: rectifier, DC bus and inverter carry the load; a bypass from the last input
/// stands by.
class OnlineUps final : public Ups {
public:
    OnlineUps(Plant& plant, const LossDescription& losses) : Ups{plant, losses} {}

    void attach(const PointTable& points) override;

    /// False when the bypass cannot carry the load or transfers are not enabled.
    bool forceBypass();
    void releaseBypass() { bypassForced = false; }

    /// The maintenance switch is turned by hand: it asks nobody.
    void closeMaintenanceBypass() { maintenance = true; }
    void openMaintenanceBypass() { maintenance = false; }
    bool isBypassForced() const { return bypassForced; }
    bool isMaintenanceClosed() const { return maintenance; }

    /// The load may go to the bypass.
    bool isBypassReady() const;

protected:
    std::optional<Mode> directMode() const override;
    Mode mainsMode() const override;
    std::optional<Mode> lastResort() const override;
    bool areConvertersGood() const override { return !inverterFailure.get() && !rectifierFailure(); }
    Feed feedOf(Mode mode) const override;
    double lossesOf(Mode mode, double output) const override;
    void draw(Mode mode, const PhasePowers& drawn, double lost, double charging) override;
    void followConverters(Mode mode, double lost) override;

private:
    Input& bypass() const { return plant.inputs.back(); }
    bool rectifierFailure() const { return rectifierFailed.get() && !plant.battery; }
    double frequencyOfInverter() const;

    /// `watts` in equal parts from the phases of the mains.
    PhasePowers rectified(double watts) const;

    /// What each phase of the bypass gives for the load and what is lost on the way.
    PhasePowers passedOn(const PhasePowers& drawn, double lost) const;
    static void enter(Input& input, const PhasePowers& powers);
    void followConversion(Mode mode, double lost, double stored);
    void followBypasses(Mode mode, double lost);

    Knob<bool> highEfficiency;
    Knob<bool> forcedTransfer;
    Knob<bool> frequencyConverter;
    Knob<float> frequencyDeviation;
    Knob<float> nominalVoltage;
    Knob<bool> inverterFailure;
    Knob<bool> rectifierFailed;
    bool bypassForced{false};
    bool maintenance{false};
};

} // namespace velk::simulator
