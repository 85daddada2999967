#pragma once

#include "powerdistribution/protocols/RWValueWrapper.h"

#include <atomic>
#include <cstdint>

namespace velk::powerdistribution::protocols {

/// The operating status of this system itself, one for the whole process: the lifecycle writes it through its
/// wrapper, a handler and `operatingStatus` read it through theirs.
///
/// Threads: any.
class VELK_EXPORT ServiceStateWrapper : public RWValueWrapper {
public:
    ~ServiceStateWrapper() override;

    /// A uint32.
    Value read() const override;

    /// Takes the low 8 bits of a bool, int32 or uint32; anything else changes nothing.
    /// Required: true tells that the state changed, not that the write was accepted.
    bool write(const Value& value) override;

private:
    static std::atomic<std::uint8_t> m_serviceState; // NOLINT(readability-identifier-naming)
};

} // namespace velk::powerdistribution::protocols
