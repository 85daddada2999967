#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace velk::testing {

/// The device behind the test driver: variables with what may be written to them, and commands. Speaks the
/// lines that a driver and its server exchange.
///
/// Its file has a line "name: value" for each variable and, for what can be changed, lines like
///
///     RW:ups.delay.shutdown:RANGE:0 600
///     RW:input.sensitivity:ENUM:normal
///     RW:ups.id:STRING:16
///     RW:battery.charge.low:NUMBER
///     CMD:load.off
///
class SimulatedDevice {
public:
    explicit SimulatedDevice(const std::string& file);

    /// All that the server asks for when it connects.
    std::string dump() const;
    /// The answer to a line of the server; lines for all servers are appended to `news`.
    std::string answer(const std::string& line, std::string& news);
    /// The answer to a line of the test; lines for all servers are appended to `news`.
    std::string control(const std::string& line, std::string& news);

private:
    struct Limits {
        std::string type;
        std::vector<std::string> values;
    };

    void addLine(const std::string& line);
    std::string describe(const std::string& variable) const;
    std::string change(std::vector<std::string> words, std::string& news);

    std::map<std::string, std::string> variables;
    std::map<std::string, Limits> writable;
    std::set<std::string> commands;
    std::vector<std::string> received;
    bool fresh{true};
    int nextCode{0};       ///< of the next change: 0 handled, 1 unknown, 2 invalid, 3 failed
    int ignoredChanges{0}; ///< so many of the next are called handled without having an effect
};

} // namespace velk::testing
