#include "daemon/WriteJournal.h"

#include "platform/common/WallTime.h"
#include "platform/common/WholeNumber.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreAdvice.h"
#include "platform/tessapi/StoreBrowser.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace velk::daemon {

namespace {

using velk::common::MutexLock;
using velk::powerdistribution::DeviceWrite;
using velk::powerdistribution::Value;
using Json = nlohmann::ordered_json;

std::string textOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string textOf(const qz::CValue& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

/// What `tess` writes into a channel comes here as the value of the same kind.
qz::CValue storeValue(const Value& value) {
    if (const bool* flag = value.getIf<bool>()) {
        return qz::CValue{*flag};
    }
    if (const std::int32_t* number = value.getIf<std::int32_t>()) {
        return qz::CValue{*number};
    }
    if (const std::uint32_t* number = value.getIf<std::uint32_t>()) {
        return qz::CValue{*number};
    }
    if (const float* number = value.getIf<float>()) {
        return qz::CValue{*number};
    }
    if (const conv::UnixTime* time = value.getIf<conv::UnixTime>()) {
        qz::CTimestamp stamp;
        stamp.seconds = time->toIntegralType();
        return qz::CValue{stamp};
    }
    return qz::CValue{};
}

bool isDeviceOf(const Json& note, const qz::CDevice& device) {
    constexpr std::uint64_t watched = 20; // others have no place, either
    const std::string& place = note["device"].get_ref<const std::string&>();
    return place.empty()
               ? device.id == watched
               : device.attributes.at(static_cast<std::size_t>(tessapi::DeviceAttribute::path)) == place;
}

/// What only the daemon writes, such as the addresses of its host for the device to know.
constexpr const char* OF_THE_DAEMON = "PrivateAction.";

/// Who said in `announcement` that the write of `note` is theirs; null when it says something else.
Json writerIn(const std::string& announcement, const Json& note) {
    try {
        const Json said = Json::parse(announcement);
        const bool isThisWrite = said.at("device") == note["device"] &&
                                 said.at("channel") == note["channel"] && said.at("asked") == note["asked"];
        if (!isThisWrite) {
            return nullptr;
        }
        return Json{{"program", said.at("program").get<std::string>()},
                    {"user", said.at("user").get<std::string>()},
                    {"pid", common::wholeNumber<std::int64_t>(said.at("pid"))}};
    } catch (const Json::exception&) {
        return nullptr;
    }
}

} // namespace

tessapi::WriteRecord recordOf(const Json& note, const conv::UnixTime& time, std::int64_t nowMs) {
    constexpr std::int64_t msASecond = 1000;
    tessapi::WriteRecord record;
    // The library knows the second alone; most often it has just passed.
    record.timeMs = static_cast<std::int64_t>(time.toIntegralType()) * msASecond;
    if (nowMs / msASecond * msASecond == record.timeMs) {
        record.timeMs = nowMs;
    }
    if (const Json& by = note.at("by"); by.is_object()) {
        record.program = by.at("program").get<std::string>();
        record.user = by.at("user").get<std::string>();
    }
    const std::string device = note.at("device").get<std::string>();
    record.path = (device.empty() ? "" : device + ".") + note.at("channel").get<std::string>();
    record.asked = note.at("asked").get<std::string>();
    if (!note.at("accepted").get<bool>()) {
        record.result = note.at("error").is_string() ? note.at("error").get<std::string>() : "refused";
    }
    return record;
}

std::string askedText(const Value& value) {
    const qz::CValue stored = storeValue(value);
    if (stored.isValid()) {
        return textOf(stored);
    }
    std::ostringstream text;
    text << value;
    return text.str();
}

velk::common::Uuid WriteJournal::deviceUuid() {
    return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "Daemon"};
}

std::uint64_t WriteJournal::emplaceDaemonDevice(tessapi::ITessAccessor& store) {
    const std::uint64_t device = store.emplaceDevice(deviceUuid(), tessapi::ITessAccessor::ROOT_DEVICE, 0);
    tessapi::InBandAccessor& inband = store.inbandAccessor();
    if (inband.getDeviceAttribute(device, tessapi::DeviceAttribute::path) != "Daemon") {
        inband.setDeviceAttribute(device, tessapi::DeviceAttribute::path, "Daemon");
    }
    return device;
}

WriteJournal::WriteJournal(Opener storeOpener, std::ostream& errorStream, velk::common::Clock& passingClock) :
    opener{std::move(storeOpener)}, errors{errorStream}, clock{passingClock} {}

WriteJournal::~WriteJournal() {
    const MutexLock lock{mutex};
    if (store && isOwing()) {
        writeOut();
    }
    lost += unrecorded.size();
    tellLost();
}

void WriteJournal::open() {
    const MutexLock lock{mutex};
    writeOut();
}

void WriteJournal::tick() {
    const MutexLock lock{mutex};
    if (!store || isOwing()) {
        writeOut();
    }
}

void WriteJournal::record(const DeviceWrite& write) {
    const MutexLock lock{mutex};
    Json note;
    note["sequence"] = ++sequence;
    note["device"] = write.device;
    note["channel"] = write.channel;
    note["asked"] = askedText(write.asked);
    note["accepted"] = write.accepted;
    note["error"] = write.error.empty() ? Json(nullptr) : Json(write.error);
    note["time"] = write.time.toIso8601();
    note["by"] = writerOf(note);
    if (!write.accepted) {
        note["changedMs"] = changeOf(note);
    }
    unrecorded.push_back(recordOf(note, write.time, velk::common::wallMs()));
    if (unrecorded.size() > LENGTH) {
        unrecorded.pop_front();
        ++lost;
    }
    notes.push_back(std::move(note));
    if (notes.size() > LENGTH) {
        notes.pop_front();
    }
    unsaid = std::min(unsaid + 1, notes.size());
    writeOut();
}

void WriteJournal::writeOut() {
    Failing present = Failing::Notes;
    try {
        openStore();
        try {
            writeRecords(); // first: who hears of the outcome finds its record
        } catch (const std::exception&) {
            writeNotes();
            present = Failing::Records;
            throw;
        }
        writeNotes();
        failing = Failing::Nothing;
    } catch (const std::exception& failure) {
        tellFailure(present, failure);
    }
}

void WriteJournal::writeRecords() {
    while (!unrecorded.empty()) {
        store->browser().recordWrite(unrecorded.front());
        unrecorded.pop_front();
    }
    tellLost();
}

void WriteJournal::writeNotes() {
    if (unsaid != 0) {
        store->inbandAccessor().setChannelCValue(writesChannel, qz::CValue{textOf(Json(notes))});
    }
    for (; unsaid != 0; --unsaid) {
        const Note& note = notes[notes.size() - unsaid];
        store->inbandAccessor().setChannelCValue(lastWriteChannel, qz::CValue{textOf(note)});
    }
}

void WriteJournal::tellFailure(Failing present, const std::exception& failure) {
    // Whoever watches the store tells that it is lost.
    if (std::exchange(failing, present) == present || tessapi::isStoreLost(failure)) {
        return;
    }
    const bool isNoted = present == Failing::Records;
    errors << std::string{"powerdistributiond: writes to the device cannot be "} +
                  (isNoted ? "recorded" : "noted") + " in the store: " + failure.what() +
                  (isNoted ? "; tess events will not show them" : "; tess will not hear of outcomes") +
                  " until they can\n"
           << std::flush;
}

void WriteJournal::tellLost() {
    if (const std::uint64_t number = std::exchange(lost, 0); number != 0) {
        errors << "powerdistributiond: the store has no record of " + std::to_string(number) +
                      (number == 1 ? " write" : " writes") +
                      " to the device, which it did not take in time; tess events will not show " +
                      (number == 1 ? "it\n" : "them\n")
               << std::flush;
    }
}

void WriteJournal::openStore() {
    if (store) {
        return;
    }
    std::unique_ptr<tessapi::ITessAccessor> opened = opener();
    tessapi::InBandAccessor& inband = opened->inbandAccessor();
    const std::uint64_t device = emplaceDaemonDevice(*opened);
    writesChannel = inband.emplaceChannel(device, WRITES, false);
    lastWriteChannel = inband.emplaceChannel(device, LAST_WRITE, false);
    writerChannel = inband.emplaceChannel(device, WRITER, false);
    const qz::CValue stored = inband.getChannelCValue(writesChannel);
    const std::string* text = std::get_if<std::string>(&stored.variant());
    takeOver(text == nullptr ? std::string{} : *text);
    const auto onAnnouncement = [this](std::uint64_t, const qz::CValue& value) {
        if (const std::string* said = std::get_if<std::string>(&value.variant())) {
            hear(*said);
        }
    };
    forget(inband.getChannelCValue(writerChannel));
    inband.subscribeMultipleChannels({writerChannel}, onAnnouncement, qz::sub::everyWrite, nullptr);
    store = std::move(opened);
}

WriteJournal::Note WriteJournal::writerOf(const Note& note) {
    if (!store) {
        return nullptr;
    }
    if (note["channel"].get_ref<const std::string&>().starts_with(OF_THE_DAEMON)) {
        return Json{{"program", "powerdistributiond"}, {"user", ""}, {"pid", getpid()}};
    }
    try {
        // What was said last may not have come by the subscription yet.
        const qz::CValue stored = store->inbandAccessor().getChannelCValue(writerChannel);
        if (const std::string* text = std::get_if<std::string>(&stored.variant())) {
            hear(*text);
        }
    } catch (const std::exception&) {
        return nullptr; // the store that fails is reported with the note
    }
    const MutexLock lock{hearing};
    for (auto each = announcements.begin(); each != announcements.end(); ++each) {
        Note writer = clock.now() - each->heard > WRITER_LASTS ? nullptr : writerIn(each->text, note);
        if (!writer.is_null()) {
            used.push_back(std::move(each->text));
            announcements.erase(each);
            if (used.size() > MOST_ANNOUNCEMENTS) {
                used.pop_front();
            }
            return writer;
        }
    }
    return nullptr;
}

void WriteJournal::hear(const std::string& announcement) {
    const MutexLock lock{hearing};
    const bool isKnown =
        std::find(used.begin(), used.end(), announcement) != used.end() ||
        std::any_of(announcements.begin(), announcements.end(),
                    [&announcement](const Announcement& each) { return each.text == announcement; });
    if (isKnown) {
        return;
    }
    announcements.push_back({announcement, clock.now()});
    if (announcements.size() > MOST_ANNOUNCEMENTS) {
        announcements.pop_front();
    }
}

WriteJournal::Note WriteJournal::changeOf(const Note& note) {
    if (!store) {
        return nullptr;
    }
    try {
        const tessapi::StoreSnapshot snapshot = store->browser().snapshot();
        const auto device = std::find_if(snapshot.devices.begin(), snapshot.devices.end(),
                                         [&note](const qz::CDevice& each) { return isDeviceOf(note, each); });
        const std::string name = "PowerDistribution." + note["channel"].get<std::string>();
        for (const tessapi::ChannelRecord& channel : snapshot.channels) {
            if (device != snapshot.devices.end() && channel.deviceId == device->id && channel.name == name) {
                return note["asked"] == textOf(channel.value) ? Json(channel.changedMs) : Json(nullptr);
            }
        }
    } catch (const std::exception&) {
        return nullptr; // the store that fails is reported with the note
    }
    return nullptr;
}

void WriteJournal::forget(const qz::CValue& announcement) {
    if (const std::string* said = std::get_if<std::string>(&announcement.variant())) {
        const MutexLock lock{hearing};
        used.push_back(*said);
    }
}

std::size_t WriteJournal::announced() const {
    const MutexLock lock{hearing};
    return announcements.size();
}

void WriteJournal::takeOver(const std::string& storedNotes) {
    Json stored = Json::parse(storedNotes, nullptr, false);
    if (!stored.is_array()) {
        return;
    }
    // The notes taken while there was no store come after those that it has.
    std::erase_if(stored.get_ref<Json::array_t&>(), [](const Json& note) {
        return !note.is_object() || !note.contains("sequence") || !note["sequence"].is_number_unsigned();
    });
    sequence = stored.empty() ? 0 : stored.back()["sequence"].get<std::uint64_t>();
    for (Note& note : notes) {
        note["sequence"] = ++sequence;
    }
    notes.insert(notes.begin(), stored.begin(), stored.end());
    while (notes.size() > LENGTH) {
        notes.pop_front();
    }
}

} // namespace velk::daemon
