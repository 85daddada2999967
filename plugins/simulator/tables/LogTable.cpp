// The device's event log, which the library fetches piece by piece.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::simulator {

using powerdistribution::EPrivate;

void addLogRows(Rows& rows) {
    // clang-format off
    const Rows table{
        {{EPrivate::InternalLogs},                      node},
        {{EPrivate::InternalLogs, EPrivate::LogTopId},  own},
        {{EPrivate::InternalLogs, EPrivate::LogChunk},  logChunk},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());
}

} // namespace velk::simulator
