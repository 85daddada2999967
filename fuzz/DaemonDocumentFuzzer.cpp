// The documents through which programs and the daemon speak by way of the store. The first letter says which
// of the daemon's channels has the rest of the input; what the daemon does then is what it always does.

#include "daemon/ExplainDesk.h"
#include "daemon/LogJournal.h"
#include "daemon/WriteJournal.h"
#include "fuzz/Fuzz.h"
#include "testing/FakeTessAccessor.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

using namespace velk::daemon;
using velk::fuzz::demand;
using velk::testing::FakeTessAccessor;
using Json = nlohmann::json;

namespace {

/// A store whose channel of the daemon's own device holds `text`.
struct Store {
    Store(const char* channel, std::string_view text) {
        device = WriteJournal::emplaceDaemonDevice(*accessor);
        auto& inBand = accessor->inbandAccessor();
        inBand.setValue(inBand.addChannel(device, channel), qz::CValue{std::string{text}});
    }

    /// For one client: the accessor that it gets lives as long as it does.
    std::function<std::unique_ptr<tessapi::ITessAccessor>()> opener() {
        return [this] { return std::move(accessor); };
    }

    Json document(const char* channel) {
        const auto value = inBand.channel(device, channel).value;
        const auto* text = std::get_if<std::string>(&value.variant());
        demand(text != nullptr, std::string{channel} + " holds no text");
        const Json json = Json::parse(*text, nullptr, false);
        demand(!json.is_discarded(), std::string{channel} + " holds no JSON");
        return json;
    }

    std::unique_ptr<FakeTessAccessor> accessor{std::make_unique<FakeTessAccessor>()};
    velk::testing::FakeInBandAccessor& inBand{accessor->inbandAccessor()};
    std::uint64_t device{0};
};

void notesOfWrites(const char* channel, std::string_view text) {
    Store store{channel, text};
    std::ostringstream errors;
    WriteJournal journal{store.opener(), errors};
    velk::powerdistribution::DeviceWrite write;
    write.device = "Outlets.1";
    write.channel = "Setting.AutomaticSwitchOffDelay";
    write.asked = velk::powerdistribution::Value{std::int32_t{30}};
    write.time = conv::UnixTime{1795268291};
    journal.open();
    journal.record(write);
    journal.record(write);
    const Json notes = store.document(WriteJournal::WRITES);
    demand(notes.is_array() && notes.size() >= 2 && notes.size() <= WriteJournal::LENGTH,
           "the notes are no list within its length");
    const Json last = store.document(WriteJournal::LAST_WRITE);
    demand(last.at("asked") == "30" && last == notes.back(), "the newest note is not the last one");
    demand(last.at("by").is_null() || last.at("by").at("program").is_string(), "a writer without a name");
}

void logOfDevice(std::string_view text) {
    Store store{LogJournal::CHANNEL, text};
    std::ostringstream errors;
    LogJournal journal{store.opener(), errors};
    velk::powerdistribution::DeviceLogPiece piece;
    velk::powerdistribution::InternalLogChunk::Entries entries(1);
    entries.front().id = 77;
    piece.entries = {entries.begin(), entries.end()};
    journal.record(piece);
    const Json log = store.document(LogJournal::CHANNEL);
    demand(log.at("entries").is_array() && log.at("entries").size() <= LogJournal::LENGTH,
           "the entries are no list within its length");
    demand(log.at("device").is_string(), "a log without its device");
}

void question(std::string_view text) {
    Store store{ExplainDesk::ANSWER, ""};
    std::ostringstream errors;
    ExplainDesk desk{store.opener(), errors};
    desk.setDescribe([](const std::string&) { return velk::powerdistribution::PointDescription{}; });
    desk.open();
    const std::uint64_t channel = store.inBand.idOf(store.device, ExplainDesk::REQUEST);
    store.inBand.deliverChannel(channel, qz::CValue{std::string{text}});
    store.inBand.deliverChannel(channel, qz::CValue{std::string{R"({"id":"own","path":"Status.X"})"}});
    const Json answer = store.document(ExplainDesk::ANSWER);
    demand(answer.at("id") == "own" && answer.at("path") == "Status.X", "the next question has no answer");
}

} // namespace

VELK_FUZZER(daemon_document) {
    if (input.empty()) {
        return;
    }
    const std::string_view text = input.substr(1);
    switch (input.front()) {
    case 'w':
        notesOfWrites(WriteJournal::WRITES, text);
        break;
    case 'b':
        notesOfWrites(WriteJournal::WRITER, text);
        break;
    case 'l':
        logOfDevice(text);
        break;
    default:
        question(text);
    }
}
