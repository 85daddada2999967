#pragma once

#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/tessapi/DataAlarms.h"
#include "platform/tessapi/engine/Statement.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace tessapi {

/// The alarm triggers of the channels and which of them are active.
/// Threads: those of its database.
class AlarmTable {
public:
    struct Row {
        std::uint64_t channel{0};
        qz::CAlarmTrigger trigger;
        bool active{false};
    };

    explicit AlarmTable(Database& owner);

    /// In the order of the triggers.
    std::vector<Row> triggersOf(std::uint64_t channel);
    /// Whether these are the triggers of `channel`.
    bool holds(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config);
    /// By channel, then in their order.
    std::vector<Row> all();

    /// Replaces the triggers of `channel` by `rows`.
    void replace(std::uint64_t channel, const std::vector<Row>& rows);
    void setActive(std::uint64_t channel, std::size_t place, bool active);

    std::optional<ActiveAlarm> mostCriticalOf(std::uint64_t device);

private:
    static std::vector<Row> collect(Statement::Run& run);

    Statement triggers;
    Statement every;
    Statement removeAll;
    Statement insert;
    Statement mark;
    Statement mostCritical;
};

} // namespace tessapi
