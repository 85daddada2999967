#include "plugins/nut/VariableWrapper.h"

namespace velk::nut {

powerdistribution::Value VariableWrapper::read() const {
    const auto snapshot = whileLost == WhileLost::Kept ? device->poller.lastGood() : device->poller.current();
    return snapshot ? firstValue(*snapshot, variables, decode) : powerdistribution::Value{};
}

std::string VariableWrapper::sourceName() const {
    std::string names;
    for (const std::string& variable : variables) {
        names += (names.empty() ? "" : " or ") + variable;
    }
    return names;
}

powerdistribution::Value firstValue(const Snapshot& snapshot, const std::vector<std::string>& variables,
                                    Decode decode) {
    for (const std::string& variable : variables) {
        const std::string* text = snapshot.find(variable);
        if (text != nullptr) {
            auto value = decode(*text);
            if (value.hasValue()) {
                return value;
            }
        }
    }
    return {};
}

} // namespace velk::nut
