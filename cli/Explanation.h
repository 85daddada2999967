#pragma once

#include "cli/Communication.h"
#include "cli/Inquiry.h"
#include "cli/JournalEntry.h"
#include "cli/StoreView.h"
#include "cli/Style.h"
#include "cli/Table.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>

namespace velk::cli {

/// All that the store and the daemon know of one point. Refers to what it is made of.
class Explanation {
public:
    Explanation(const StoreView& view, const Communication& communication, const Point& point,
                const Inquiry::Result& inquiry);

    /// Everything that `get` says of the point, and `description`, `written`, `writtenBy`, `daemonAnswered`,
    /// `modelBuilt`, `modelError`, `servedBy` (an array: `kind`, `plugin`, `rule`, `rank`, `periodSeconds`,
    /// `reads`, `lastRead`, `gaveNothing`, `error`, `errorTime`), `lastRequest` (null, or `asked`,
    /// `accepted`, `error`, `time`, `by`) and `triggers` (`condition`, `threshold1`, `threshold2`, `level`,
    /// `code`, `priority`, `active`). What nobody knows is null.
    nlohmann::ordered_json json() const;

    /// The same in lines for people.
    void print(std::ostream& out, const Style& style, std::int64_t nowMs) const;

private:
    using Json = nlohmann::ordered_json;

    void addStore(Table& table, const Style& style, std::int64_t nowMs) const;
    void addPublishers(Table& table, const Style& style, std::int64_t nowMs) const;
    void addPublisher(Table& table, const Json& publisher, const Style& style, std::int64_t nowMs) const;
    void addRequest(Table& table, const Style& style) const;
    void addTriggers(Table& table, const Style& style) const;
    bool isRequestable() const { return point.isSetting() || point.isAction(); }
    /// Of the device that is watched, or of the service that watches it.
    bool isOfDevice() const;
    /// What the daemon keeps the point for; empty for one that it does not keep by itself.
    std::string ownPurpose() const;
    /// Who wrote the channel last; empty when nobody knows.
    std::optional<std::string> storeWriter() const;
    const Json& publishers() const;

    const StoreView& view;
    const Communication& communication;
    const Point& point;
    const Inquiry::Result& inquiry;
    std::optional<JournalEntry> request; ///< the last write to the device
};

} // namespace velk::cli
