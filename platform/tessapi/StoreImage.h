#pragma once

#include "platform/qz/CDevice.h"
#include "platform/tessapi/AlarmEvent.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/WriteRecord.h"

#include <cstdint>
#include <vector>

namespace tessapi {

/// Everything that a store holds, to be kept elsewhere and put back. What follows from something else is not
/// in it: units and descriptions are the catalogue's.
struct StoreImage {
    std::uint64_t lastDevice{999};         ///< the greatest identifier from 1000 up that was ever given
    std::uint64_t lastChannel{999};        ///< likewise
    StoreSnapshot content;                 ///< of a channel all but unit, description and common states
    std::vector<AlarmEvent> alarmEvents;   ///< oldest first
    std::vector<WriteRecord> writeRecords; ///< oldest first
};

} // namespace tessapi
