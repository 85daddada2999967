#include "daemon/LogJournal.h"

#include "daemon/WriteJournal.h"
#include "platform/common/WholeNumber.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreAdvice.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace velk::daemon {

namespace {

using velk::common::MutexLock;
using velk::powerdistribution::DeviceLogPiece;
using Json = nlohmann::ordered_json;
using Entry = LogJournal::Entry;

constexpr std::uint64_t POWER_DISTRIBUTION = 20; ///< the device that is watched

Json jsonOf(std::uint64_t sequence, const Entry& entry) {
    Json json;
    json["sequence"] = sequence;
    json["id"] = entry.id;
    json["time"] = entry.date.toIntegralType();
    json["severity"] = entry.severity;
    json["code"] = entry.code;
    json["status"] = entry.status;
    json["mode"] = entry.mode;
    json["reason"] = entry.reason;
    json["data"] = entry.data;
    return json;
}

/// Throws what the parser throws when something is missing or of another kind.
Entry entryOf(const Json& json) {
    Entry entry;
    using common::takeWhole;
    takeWhole(json.at("id"), entry.id);
    entry.date = conv::UnixTime{common::wholeNumber<std::uint32_t>(json.at("time"))};
    takeWhole(json.at("severity"), entry.severity);
    takeWhole(json.at("code"), entry.code);
    takeWhole(json.at("status"), entry.status);
    takeWhole(json.at("mode"), entry.mode);
    takeWhole(json.at("reason"), entry.reason);
    takeWhole(json.at("data"), entry.data);
    return entry;
}

} // namespace

LogJournal::LogJournal(Opener storeOpener, std::ostream& errorStream) :
    opener{std::move(storeOpener)}, errors{errorStream} {}

void LogJournal::record(const DeviceLogPiece& piece) {
    const MutexLock lock{mutex};
    try {
        openStore();
        turnTo(store->uuidOf(POWER_DISTRIBUTION).toString());
        take(piece);
        writeOut();
        failing = false;
    } catch (const std::exception& failure) {
        take(piece); // what has been taken already is known
        // Whoever watches the store tells that it is lost.
        if (!failing && !tessapi::isStoreLost(failure)) {
            errors << std::string{"powerdistributiond: the device's log cannot be noted in the store: "} +
                          failure.what() + "; tess will not show all of it until it can\n"
                   << std::flush;
        }
        failing = true;
    }
}

void LogJournal::take(const DeviceLogPiece& piece) {
    if (piece.error != error) {
        error = piece.error;
        errorTime = conv::UnixTime::now().toIntegralType();
        unsaid = true;
    }
    for (const Entry& entry : piece.entries.entries()) {
        add(entry);
    }
}

void LogJournal::add(const Entry& entry) {
    if (isNoted(entry)) {
        return;
    }
    const bool isFirst = beginsNumbers(entry);
    if (!isFirst && hadToGo(entry)) {
        return;
    }
    notes.push_back({++sequence, entry});
    if (isFirst) {
        first = notes.back();
    }
    if (notes.size() > LENGTH) {
        notes.pop_front();
    }
    unsaid = true;
}

bool LogJournal::isNoted(const Entry& entry) const {
    return std::any_of(notes.begin(), notes.end(), [&](const Note& note) { return note.entry == entry; });
}

/// Whether the device has begun to count anew with this entry, which is not noted: its number is one that the
/// present numbers cannot give any more.
bool LogJournal::beginsNumbers(const Entry& entry) const {
    if (!first || (entry.id <= first->entry.id && !(entry == first->entry))) {
        return true;
    }
    const std::uint64_t begin = first->sequence;
    return std::any_of(notes.begin(), notes.end(), [&entry, begin](const Note& note) {
        return note.sequence >= begin && note.entry.id == entry.id;
    });
}

/// Whether this entry, which is not noted, was noted once.
bool LogJournal::hadToGo(const Entry& entry) const {
    if (notes.size() < LENGTH) {
        return false;
    }
    const Note& oldest = notes.front();
    // As long as notes from before the present numbers are left, only what is older than these had to go.
    return entry.id < oldest.entry.id && entry.date <= oldest.entry.date &&
           (oldest.sequence > first->sequence || entry.date < first->entry.date);
}

void LogJournal::openStore() {
    if (store) {
        return;
    }
    std::unique_ptr<tessapi::ITessAccessor> opened = opener();
    tessapi::InBandAccessor& inband = opened->inbandAccessor();
    channel = inband.emplaceChannel(WriteJournal::emplaceDaemonDevice(*opened), CHANNEL, false);
    const qz::CValue stored = inband.getChannelCValue(channel);
    const std::string present = opened->uuidOf(POWER_DISTRIBUTION).toString();
    store = std::move(opened);
    // The entries that came while there was no store follow those that it has.
    const std::deque<Note> own = std::exchange(notes, {});
    first.reset();
    if (const std::string* text = std::get_if<std::string>(&stored.variant())) {
        takeOver(*text);
    }
    turnTo(present);
    for (const Note& note : own) {
        add(note.entry);
    }
}

void LogJournal::takeOver(const std::string& stored) {
    try {
        const Json json = Json::parse(stored);
        for (const Json& note : json.at("entries")) {
            sequence = common::wholeNumber<std::uint64_t>(note.at("sequence"));
            notes.push_back({sequence, entryOf(note)});
        }
        if (const Json& note = json.at("first"); !note.is_null()) {
            first = Note{common::wholeNumber<std::uint64_t>(note.at("sequence")), entryOf(note)};
        }
        device = json.at("device").get<std::string>();
        // What failed an earlier daemon need not fail this one.
        unsaid = json.at("error") != (error.empty() ? Json(nullptr) : Json(error));
    } catch (const Json::exception&) {
        notes.clear(); // nothing that a daemon has written
        first.reset();
        unsaid = true;
    }
}

void LogJournal::turnTo(const std::string& presentDevice) {
    if (device == presentDevice) {
        return;
    }
    if (!device.empty()) {
        notes.clear();
        first.reset();
    }
    device = presentDevice;
    unsaid = true;
}

void LogJournal::writeOut() {
    if (!unsaid) {
        return;
    }
    Json json;
    json["device"] = device;
    json["error"] = error.empty() ? Json(nullptr) : Json(error);
    json["errorTime"] = error.empty() ? Json(nullptr) : Json(errorTime);
    json["first"] = first ? jsonOf(first->sequence, first->entry) : Json(nullptr);
    json["entries"] = Json::array();
    for (const Note& note : notes) {
        json["entries"].push_back(jsonOf(note.sequence, note.entry));
    }
    const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    store->inbandAccessor().setChannelCValue(channel, qz::CValue{text});
    unsaid = false;
}

} // namespace velk::daemon
