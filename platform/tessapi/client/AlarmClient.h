#pragma once

#include "platform/tessapi/DataAlarms.h"
#include "platform/tessapi/engine/Engine.h"

namespace tessapi {

/// The alarms of a store as an engine has it.
/// Threads: any.
class AlarmClient final : public DataAlarms {
public:
    /// `opened` outlives the object.
    explicit AlarmClient(Engine& opened) : engine{opened} {}

    std::unique_ptr<ActiveAlarm> getMostCritical(std::uint64_t device) override;

private:
    Engine& engine;
};

} // namespace tessapi
