#pragma once

#include "plugins/simulator/model/PowerPath.h"

#include <cstddef>
#include <functional>
#include <optional>

namespace velk::simulator {

/// An ATS: two inputs, of which the preferred one feeds the load as long as it is good.
class TransferSwitch final : public PowerPath {
public:
    TransferSwitch(Plant& plant, const LossDescription& losses) : plant{plant}, losses{losses} {}

    void attach(const PointTable& points) override;
    Feed choose(const PhasePowers& demand, double seconds, conv::UnixTime now) override;
    void settle(const PhasePowers& drawn, double seconds) override;
    Mode mode() const override;
    Switch::Surroundings surroundings() const override { return {!source, source.has_value()}; }

    /// From 1; 0 when no source feeds the load.
    std::uint32_t sourceNumber() const { return source ? static_cast<std::uint32_t>(*source) + 1 : 0; }

private:
    std::size_t preferred() const;
    bool isUsable(std::size_t input) const;
    /// The first that fits in the order of preference.
    std::optional<std::size_t> firstInput(const std::function<bool(std::size_t)>& fits) const;

    Plant& plant;
    LossDescription losses;
    Knob<std::uint32_t> preferredSource;
    Knob<bool> outOfToleranceAllowed;
    std::optional<std::size_t> source{0}; ///< from 0
};

} // namespace velk::simulator
