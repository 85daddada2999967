#include "kit/Steps.h"

namespace velk::kit {

const std::vector<Step>& steps() {
    // clang-format off
    static const std::vector<Step> all{
        {"loading",                        loadPlugin,             true},
        {"discovery",                      findDevice,             true},
        {"the walk through the tree",      walkTree,               true},
        {"odd paths",                      tryOddPaths,            false},
        {"identity",                       tryIdentity,            false},
        {"values",                         tryValues,              false},
        {"counts",                         tryCounts,              false},
        {"names of rules",                 tryNames,               false},
        {"communication status",           tryCommunicationStatus, false},
        {"alarm file",                     tryAlarmFile,           false},
        {"settings",                       trySettings,            false},
        {"changed settings",               tryChangingSettings,    false},
        {"reads from many threads",        tryManyThreads,         false},
        {"building and destroying",        tryLifetimes,           false},
        {"a device that goes away",        tryLoss,                false},
        {"disconnect",                     tryDisconnect,          false},
        {"actions",                        tryActions,             false},
        {"the end",                        tryEnd,                 false},
    };
    // clang-format on
    return all;
}

} // namespace velk::kit
