#include "tests/protocols/plugin/PluginHost.h"

PluginHost& PluginHost::instance() {
    static PluginHost host;
    return host;
}
