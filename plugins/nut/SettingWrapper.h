#pragma once

#include "plugins/nut/Codec.h"
#include "plugins/nut/NutDevice.h"
#include "powerdistribution/protocols/IRuleNaming.h"
#include "powerdistribution/protocols/RWValueWrapper.h"

#include <memory>
#include <string>

namespace velk::nut {

/// A setting of the device: reads its variable, writes it and waits until the device shows it.
///
/// A write that the device did not take gives false, with the reason in one line on the standard error. After
/// one that it took, `read` gives the device's new value at once.
class SettingWrapper final : public powerdistribution::protocols::RWValueWrapper,
                             public powerdistribution::protocols::ISourceNaming {
public:
    /// A setting that `isKeptWhileLost` reads as it was last known while the device cannot be reached.
    SettingWrapper(std::shared_ptr<NutDevice> target, std::string variableName, Codec writing,
                   bool canBeWritten, bool isKeptWhileLost);

    bool isWritable() const override { return writable; }
    powerdistribution::Value read() const override;
    bool write(const powerdistribution::Value& value) override;
    std::string sourceName() const override {
        return writable ? variable : variable + ", which is read-only";
    }

private:
    std::string change(const powerdistribution::Value& asked, const Snapshot& snapshot);

    std::shared_ptr<NutDevice> device;
    std::string variable;
    Codec codec;
    bool writable;
    bool keptWhileLost;
};

} // namespace velk::nut
