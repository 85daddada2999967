#pragma once

#include "plugins/nut/ActionStep.h"
#include "plugins/nut/NutDevice.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/WOValueWrapper.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velk::nut {

/// An action of the device. Takes true, or a delay in seconds from 0 up; everything else is refused.
///
/// Gives true when the server says that the device did it, false otherwise, with the reason in one line on
/// the standard error.
class ActionWrapper final : public powerdistribution::protocols::WOValueWrapper,
                            public powerdistribution::protocols::ISourceNaming {
public:
    /// `offeredSteps`: those that the device has, in the order of preference, with whole names.
    ActionWrapper(std::shared_ptr<NutDevice> target, std::vector<ActionStep> offeredSteps);

    bool write(const powerdistribution::Value& value) override;
    std::string sourceName() const override;

private:
    const ActionStep& stepFor(std::int32_t delay) const;
    void carryOut(const ActionStep& step, std::int32_t delay);

    std::shared_ptr<NutDevice> device;
    std::vector<ActionStep> steps;
};

} // namespace velk::nut
