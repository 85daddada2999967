#pragma once

#include "daemon/IStoreReader.h"
#include "daemon/history/HistoryBook.h"
#include "daemon/history/HistoryFile.h"
#include "daemon/history/HistorySettings.h"
#include "daemon/history/LinkStates.h"
#include "platform/common/Clock.h"

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <ostream>

namespace velk::daemon {

/// Keeps the history of the store's values and tells of it whoever asks by way of the store.
///
/// A question is
/// {"id":"…","channel":5012,"path":"Inputs.1.Measure.Voltage","fromMs":…,"toMs":…,"columns":160}, written
/// into the channel "Daemon.HistoryRequest" of the daemon's own device; the answer is written into
/// "Daemon.HistoryAnswer". It has "id" and "path" of the question, "enabled" (false: the configuration wants
/// no history, and nothing follows), "known" (false: nothing is known of the channel), "kind" ("number",
/// "state", "text"), "fromMs", "toMs", "oldestMs" and
/// - of a number "columns", an array [least, mean, greatest, last] for each part of the time or null where
/// nobody
///   knows, and "whole", the same over all of it;
/// - of all others "changes", [milliseconds since 1970, value] each, null for a value that nobody knows, the
///   oldest first, and "leftOut", how many older ones there are.
///
/// While a part of the equipment cannot be reached nobody knows its values; when it can, those of the store
/// count again.
///
/// The daemon's own device has no history. What was known before it began is taken from the file; the store's
/// values then are known from the beginning on.
///
/// Threads: as an IStoreReader; questions come on the store's client thread.
class HistoryDesk : public IStoreReader {
public:
    static constexpr const char* REQUEST = "Daemon.HistoryRequest";
    static constexpr const char* ANSWER = "Daemon.HistoryAnswer";

    /// No answer has more columns, or changes.
    static constexpr std::size_t MOST_COLUMNS = 1000;

    using WallClock = std::function<std::int64_t()>;

    /// `wallMs` gives milliseconds since 1970 UTC, `clock` what the pauses between savings go by. `errors`
    /// and `clock` must outlive this object.
    HistoryDesk(const HistorySettings& chosen, std::ostream& errors, velk::common::Clock& clock,
                WallClock wallMs);

    /// To be called when no writes come for a while: what the values are until they do nobody knows. The
    /// store may be another one then.
    void rest();

    /// Saves to the file, when there is to be one; to be called when no more writes come.
    void finish();

    void begin(tessapi::ITessAccessor& client) override;
    void meet(const qz::CDevice& device, const tessapi::ChannelRecord& channel, bool isFormer) override;
    void leave(std::uint64_t channel) override;
    void take(const tessapi::ChannelWrite& write) override;
    void tick() override;

    const HistoryBook& history() const { return book; }

private:
    void meetLinks(const tessapi::StoreSnapshot& snapshot);
    std::optional<nlohmann::ordered_json> answerTo(const nlohmann::ordered_json& question) const;
    void save();

    const HistorySettings settings;
    std::ostream& errors;
    velk::common::Clock& clock;
    const WallClock wallMs;
    HistoryBook book;
    LinkStates links; ///< of the calls that come one at a time
    const HistoryBook::IsAway isAway{
        [this](const HistoryBook::Key& channel) { return links.isAway(channel); }};
    std::optional<HistoryFile> file;
    velk::common::Clock::Duration savedAt; ///< by `clock`; only `tick` uses it, and the constructor
    bool full{false};                      ///< has been told
};

} // namespace velk::daemon
