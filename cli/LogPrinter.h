#pragma once

#include "cli/DeviceLog.h"
#include "cli/Session.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velk::cli {

/// Prints the events of a device's log that have not been printed yet, a line each.
class LogPrinter {
public:
    /// `session` must outlive this object.
    explicit LogPrinter(Session& owner) : session{owner} {}

    /// The head of the columns; nothing for programs.
    void printHead() const;

    /// Of those that are new the last `newest`; all without. What is left out counts as printed.
    void print(const DeviceLog& log, std::optional<std::uint64_t> newest = std::nullopt);

    /// The entries behind the last one that was printed.
    std::vector<DeviceLog::Entry> newEntries(const DeviceLog& log) const;

private:
    void print(const DeviceLog::Entry& entry);

    Session& session;
    std::uint64_t lastSequence{0};
    std::optional<std::uint32_t> lastId;
};

} // namespace velk::cli
