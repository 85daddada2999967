#pragma once

#include "plugins/nut/NutConfiguration.h"
#include "plugins/nut/ProtocolLine.h"
#include "plugins/nut/Variables.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velk::testing {

/// What a server answers to "LIST VAR u1".
inline std::string variableList(const velk::nut::Variables& variables) {
    std::string text = "BEGIN LIST VAR u1\n";
    for (const auto& [name, value] : variables) {
        text += "VAR u1 " + name + " " + velk::nut::quote(value) + "\n";
    }
    return text + "END LIST VAR u1\n";
}

/// What a server answers to "LIST `kind` u1": names only.
inline std::string nameList(const std::string& kind, const std::vector<std::string>& names) {
    std::string text = "BEGIN LIST " + kind + " u1\n";
    for (const std::string& name : names) {
        text += kind + " u1 " + name + (kind == "RW" ? " \"\"" : "") + "\n";
    }
    return text + "END LIST " + kind + " u1\n";
}

inline velk::nut::NutConfiguration configurationFor(std::uint16_t port) {
    velk::nut::NutConfiguration configuration;
    configuration.port = port;
    configuration.ups = "u1";
    configuration.user = "velk";
    configuration.password = "secret";
    configuration.pollInterval = std::chrono::milliseconds{100};
    return configuration;
}

} // namespace velk::testing
