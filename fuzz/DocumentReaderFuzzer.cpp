// The daemon's documents as the command line reads them from the store.

#include "cli/CommunicationNote.h"
#include "cli/DeviceLog.h"
#include "cli/JournalEntry.h"
#include "fuzz/Fuzz.h"

#include <nlohmann/json.hpp>

using namespace velk::cli;
using velk::fuzz::demand;

VELK_FUZZER(document_reader) {
    std::string why;
    const auto log = DeviceLog::parse(input, why);
    demand(log.has_value() == why.empty(), "refused without a reason, or read with one");
    if (log) {
        for (const DeviceLog::Entry& entry : log->entries) {
            demand(entry.timeMs >= 0, "a time before 1970");
            jsonOf(entry).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        }
    }
    const auto one = JournalEntry::parse(input);
    const std::string list = "[" + std::string{input} + "]";
    const auto all = JournalEntry::parseAll(list);
    demand(!one || all.size() == 1, "a note alone is read, but not in a list");
    JournalEntry::parseAll(input);
    CommunicationNote::parseAll(input);
}
