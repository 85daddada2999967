#include "daemon/CommunicationJournal.h"

#include "daemon/WriteJournal.h"
#include "platform/common/WholeNumber.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreAdvice.h"

#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

namespace velk::daemon {

namespace {

using velk::common::MutexLock;
using NoteJson = nlohmann::ordered_json;

constexpr std::uint64_t WATCHED_DEVICE = 20;

std::string placeOf(const qz::CDevice& device) {
    return device.id == WATCHED_DEVICE
               ? std::string{}
               : device.attributes.at(static_cast<std::size_t>(tessapi::DeviceAttribute::path));
}

constexpr const char* LOST = "lost";
constexpr const char* STOPPED = "stopped";

std::string stateText(const qz::CValue& state) {
    constexpr double connected = 2.0;
    constexpr double lost = 3.0;
    const double number = state.asNumber().value_or(0.0);
    return number == connected ? "connected" : number == lost ? LOST : "unknown";
}

} // namespace

void CommunicationJournal::expectEnd() {
    const MutexLock lock{mutex};
    ending = true;
}

void CommunicationJournal::begin(tessapi::ITessAccessor& client) {
    const MutexLock lock{mutex};
    tessapi::InBandAccessor& inband = client.inbandAccessor();
    channel = inband.emplaceChannel(WriteJournal::emplaceDaemonDevice(client), CHANNEL, false);
    const qz::CValue stored = inband.getChannelCValue(channel);
    if (const std::string* text = std::get_if<std::string>(&stored.variant())) {
        takeOver(*text);
    }
    store = &client;
}

void CommunicationJournal::takeOver(const std::string& stored) {
    const NoteJson array = NoteJson::parse(stored, nullptr, false);
    notes.clear();
    present.clear();
    if (!array.is_array()) {
        return;
    }
    for (const NoteJson& element : array) {
        try {
            notes.push_back({common::wholeNumber<std::int64_t>(element.at("timeMs")),
                             element.at("device").get<std::string>(),
                             element.at("state").get<std::string>()});
            present[notes.back().device] = notes.back().state;
        } catch (const NoteJson::exception&) {
            continue; // nothing that a daemon has written
        }
    }
}

void CommunicationJournal::meet(const qz::CDevice& device, const tessapi::ChannelRecord& met, bool isFormer) {
    if (met.name != STATE) {
        return;
    }
    const MutexLock lock{mutex};
    places[met.id] = placeOf(device);
    if (isFormer && met.initialized) {
        note(places[met.id], met.value, met.changedMs);
    }
}

void CommunicationJournal::leave(std::uint64_t gone) {
    const MutexLock lock{mutex};
    places.erase(gone);
}

void CommunicationJournal::take(const tessapi::ChannelWrite& write) {
    const MutexLock lock{mutex};
    const auto place = places.find(write.channel);
    if (place != places.end()) {
        note(place->second, write.value, write.timeMs);
    }
}

void CommunicationJournal::tick() {
    const MutexLock lock{mutex};
    writeOut();
}

void CommunicationJournal::note(const std::string& device, const qz::CValue& state, std::int64_t timeMs) {
    std::string& before = present[device];
    const std::string told = stateText(state);
    const bool isLetGo = told == LOST && (ending || before == STOPPED);
    const std::string text = isLetGo ? STOPPED : told;
    if (before == text) {
        return;
    }
    before = text;
    notes.push_back({timeMs, device, text});
    if (notes.size() > LENGTH) {
        notes.pop_front();
    }
    unsaid = true;
    writeOut();
}

void CommunicationJournal::writeOut() {
    if (!unsaid || store == nullptr) {
        return;
    }
    NoteJson array = NoteJson::array();
    for (const Note& each : notes) {
        array.push_back({{"timeMs", each.timeMs}, {"device", each.device}, {"state", each.state}});
    }
    try {
        store->inbandAccessor().setChannelCValue(
            channel, qz::CValue{array.dump(-1, ' ', false, NoteJson::error_handler_t::replace)});
        unsaid = false;
        failing = false;
    } catch (const std::exception& failure) {
        // Whoever watches the store tells that it is lost.
        if (!std::exchange(failing, true) && !tessapi::isStoreLost(failure)) {
            errors << std::string{"powerdistributiond: a link that came or went cannot be noted in the "
                                  "store: "} +
                          failure.what() + "; tess events will not show it until it can\n"
                   << std::flush;
        }
    }
}

} // namespace velk::daemon
