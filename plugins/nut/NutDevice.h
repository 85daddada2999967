#pragma once

#include "platform/common/Clock.h"
#include "plugins/nut/Commander.h"
#include "plugins/nut/Interrupt.h"
#include "plugins/nut/NutConfiguration.h"
#include "plugins/nut/Poller.h"

#include <utility>

namespace velk::nut {

/// The device of one configuration with all that reaches it. Shared by the protocol and its wrappers, which
/// may outlive the protocol.
/// Threads: any, as told by the members.
class NutDevice {
public:
    NutDevice(NutConfiguration settings, velk::common::Clock& time) :
        configuration{std::move(settings)},
        poller{configuration, interrupt, time},
        commander{configuration, interrupt, time} {}

    /// Without a user the server lets nobody change anything.
    bool canChange() const { return !configuration.user.empty(); }

    // In this order, so that the thread is joined before what it works with goes.
    const NutConfiguration configuration;
    Interrupt interrupt;
    Poller poller;
    Commander commander;
};

} // namespace velk::nut
