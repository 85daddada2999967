#pragma once

#include "plugins/nut/Decoders.h"
#include "plugins/nut/NutDevice.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/ROValueWrapper.h"

#include <memory>
#include <string>
#include <vector>

namespace velk::nut {

/// A data point that a variable of the device gives; of several, the first that means something now.
class VariableWrapper final : public powerdistribution::protocols::ROValueWrapper,
                              public powerdistribution::protocols::ISourceNaming {
public:
    enum class WhileLost {
        Empty, ///< what is measured must never be shown as if it were fresh
        Kept,  ///< what the device is does not change because it cannot be reached
    };

    VariableWrapper(std::shared_ptr<const NutDevice> source, std::vector<std::string> candidates,
                    Decode meaning, WhileLost lossBehaviour) :
        device{std::move(source)},
        variables{std::move(candidates)},
        decode{meaning},
        whileLost{lossBehaviour} {}

    powerdistribution::Value read() const override;
    std::string sourceName() const override;

private:
    std::shared_ptr<const NutDevice> device;
    std::vector<std::string> variables;
    Decode decode;
    WhileLost whileLost;
};

/// The first value that one of the variables gives in the snapshot; empty when there is none.
powerdistribution::Value firstValue(const Snapshot& snapshot, const std::vector<std::string>& variables,
                                    Decode decode);

} // namespace velk::nut
