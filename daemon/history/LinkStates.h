#pragma once

#include "daemon/history/HistoryBook.h"
#include "platform/tessapi/StoreBrowser.h"

#include <cstdint>
#include <map>
#include <string>

namespace velk::daemon {

/// Which parts of the equipment cannot be reached now, by the communication states in the store: the part of
/// a state that is not "connected", and all that is below it. A part of which nothing has been said yet can.
class LinkStates {
public:
    /// A device of the store, before its channels. True when that changed what can be reached.
    bool meet(const qz::CDevice& device, const tessapi::ChannelRecord& channel);
    bool leave(std::uint64_t channel);
    bool take(const tessapi::ChannelWrite& write);

    /// Whether the values of this channel are the last known ones. Those of the links themselves never are.
    bool isAway(const HistoryBook::Key& channel) const;

private:
    struct Link {
        std::string place; ///< in the equipment; empty for the device itself
        bool isLost{false};
    };

    std::map<velk::common::Uuid, std::string> places; ///< of the devices of the equipment
    std::map<std::uint64_t, Link> links;              ///< by the channel of the state
};

} // namespace velk::daemon
