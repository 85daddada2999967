#pragma once

#include "plugins/nut/NutDevice.h"
#include "plugins/nut/PathIndices.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/ROValueWrapper.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace velk::nut {

/// Works a data point out of all that the device says; empty when it does not say enough.
using Compute = std::function<powerdistribution::Value(const Snapshot& snapshot, const PathIndices& indices)>;

/// A data point that is worked out of several variables or of the words of one.
class ComputedWrapper final : public powerdistribution::protocols::ROValueWrapper,
                              public powerdistribution::protocols::ISourceNaming {
public:
    ComputedWrapper(std::shared_ptr<const NutDevice> source, Compute computation,
                    const PathIndices& pathIndices, bool isKeptWhileLost) :
        device{std::move(source)},
        compute{std::move(computation)},
        indices{pathIndices},
        keptWhileLost{isKeptWhileLost} {}

    powerdistribution::Value read() const override {
        const auto snapshot = keptWhileLost ? device->poller.lastGood() : device->poller.current();
        return snapshot ? compute(*snapshot, indices) : powerdistribution::Value{};
    }

    std::string sourceName() const override { return "several variables"; }

private:
    std::shared_ptr<const NutDevice> device;
    Compute compute;
    PathIndices indices;
    bool keptWhileLost;
};

} // namespace velk::nut
