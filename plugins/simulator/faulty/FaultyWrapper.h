#pragma once

#include "plugins/simulator/world/FaultTable.h"
#include "powerdistribution/protocols/IValueWrapper.h"

#include <memory>
#include <string>

namespace velk::simulator {

/// A wrapper with the faults of a plug-in: its operations may be told to throw, and its values to be of
/// another alternative or garbage.
class FaultyWrapper final : public powerdistribution::protocols::IValueWrapper {
public:
    FaultyWrapper(powerdistribution::protocols::ValueWrapperPtr inner, std::string text,
                  std::shared_ptr<FaultTable> present);
    ~FaultyWrapper() override;

    bool isReadable() const override;
    bool isWritable() const override;

    /// Faults of values leave an empty value as it is. Garbage in place of a number is an empty value: it is
    /// what a plug-in gives for an answer of which it can make nothing.
    powerdistribution::Value read() const override;
    bool write(const powerdistribution::Value& value) override;
    powerdistribution::protocols::DataConfig dataConfig() const override;

private:
    powerdistribution::protocols::ValueWrapperPtr wrapper;
    std::string path;
    std::shared_ptr<FaultTable> faults;
};

} // namespace velk::simulator
