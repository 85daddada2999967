#pragma once

#include "platform/common/Export.h"
#include "platform/common/Uuid.h"
#include "testing/CallLog.h"

#include <map>
#include <memory>
#include <string>

/// What the test program tells its plug-ins and hears of them. Lives in the program, which exports it, so
/// that it is there before a plug-in is loaded and after it is unloaded.
struct VELK_EXPORT PluginHost {
    /// How a plug-in behaves when it is loaded next.
    struct Script {
        bool found{false};            ///< `discover` finds the device
        std::string failingOperation; ///< of the protocol; "create" for the builder; empty for none
        bool ownException{false};     ///< `start` fails with a class that only the plug-in knows
        bool oddException{false};     ///< `disconnect` and `stop` fail with what is no standard exception
        std::string missing;          ///< "builder", "protocol" or "factory" is null; empty for none
        velk::common::Uuid otherProtocolUuid; ///< given by the protocol instead of the library's unless nil
    };

    static PluginHost& instance();

    std::map<std::string, Script> scripts;
    std::string configurationPath; ///< what the plug-in that was loaded last was told
    const std::shared_ptr<velk::testing::CallLog> log = std::make_shared<velk::testing::CallLog>();
};
