#pragma once

#include "powerdistribution/alarms/ReferenceWrappers.h"
#include "powerdistribution/protocols/IValueWrapper.h"

#include <optional>

namespace velk::powerdistribution::protocols {

/// Behaves as the wrapper inside, except that its configuration carries the triggers of the alarm file. A
/// threshold that the file gives by reference is read anew each time the configuration is asked for, so that
/// a setting changed on the device reaches the store.
///
/// Threads: as for every wrapper, never two calls at once; the referenced settings are read on the calling
/// thread.
class AlarmValueWrapper final : public IValueWrapper {
public:
    AlarmValueWrapper(ValueWrapperPtr inner, std::optional<AlarmConfig> alarmConfig,
                      ReferenceWrappers referenced);
    ~AlarmValueWrapper() override;

    bool isReadable() const override;
    bool isWritable() const override;
    Value read() const override;
    bool write(const Value& value) override;

    /// Throws UnexpectedIndex when a lower or upper trigger refers to a setting that does not read as a
    /// float.
    DataConfig dataConfig() const override;

private:
    void resolve(Trigger& trigger) const;

    ValueWrapperPtr wrapper;
    std::optional<AlarmConfig> config; ///< as the file gives it, references unresolved
    ReferenceWrappers references;
};

} // namespace velk::powerdistribution::protocols
