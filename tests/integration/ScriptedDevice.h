#pragma once

#include "testing/FakeProtocol.h"
#include "testing/FakeWrapperFactory.h"

#include <functional>
#include <memory>

namespace velk::testing {

/// The device behind the scripted plug-in: what a test says it is. One for each loaded plug-in; a test
/// reaches it through the symbol `velkScriptedDevice` of the library, which it keeps loaded itself.
struct ScriptedDevice {
    explicit ScriptedDevice(const velk::common::Uuid& uuid) :
        uuid{uuid}, log{std::make_shared<CallLog>()}, factory{std::make_shared<FakeWrapperFactory>(uuid)} {}

    const velk::common::Uuid uuid;
    std::shared_ptr<CallLog> log;
    std::shared_ptr<FakeWrapperFactory> factory;
    std::weak_ptr<FakeProtocol> protocol; ///< the one made last; gone with its manager
    std::function<void()> onEnumerate;    ///< run when a wrapper factory is asked for
    /// Makes what is given instead of `factory` then; empty for `factory` itself.
    std::function<std::shared_ptr<velk::powerdistribution::protocols::IWrapperFactory>()> makeFactory;
    bool found{true}; ///< what the next protocol answers to `discover`
};

} // namespace velk::testing
