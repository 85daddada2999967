// The history of a channel in its file, and the questions about it. "q" and a question, or two letters for
// kind and type and the bytes of the file.

#include "daemon/history/ByteCoding.h"
#include "daemon/history/ChannelHistory.h"
#include "daemon/history/HistoryDesk.h"
#include "fuzz/Fuzz.h"
#include "testing/FakeClock.h"
#include "testing/FakeTessAccessor.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

using namespace velk::daemon;
using velk::fuzz::demand;
using Json = nlohmann::json;

namespace {

constexpr std::int64_t NOW_MS = 1795268291123;

ByteVector saved(const ChannelHistory& history) {
    ByteVector bytes;
    history.save(bytes);
    return bytes;
}

void read(HistoryKind kind, qz::datatype type, std::string_view bytes) {
    ChannelHistory history{kind, type};
    ByteReader reader{bytes};
    try {
        history.load(reader);
    } catch (const std::runtime_error& refusal) {
        demand(refusal.what() != std::string{}, "refused without a reason");
        return;
    }
    const ByteVector once = saved(history);
    ChannelHistory again{kind, type};
    ByteReader second{{reinterpret_cast<const char*>(once.data()), once.size()}};
    again.load(second);
    demand(saved(again) == once, "a history is saved as another one");
    const HistorySlice slice = history.slice(NOW_MS - 3'600'000, NOW_MS, 50);
    demand(slice.columns.size() <= 50 && slice.changes.size() <= 50, "more than was asked for");
    history.add(NOW_MS, qz::CValue{}, {});
    history.dropBefore(NOW_MS);
}

void ask(std::string_view question) {
    velk::testing::FakeTessAccessor store;
    velk::testing::FakeClock clock;
    std::ostringstream errors;
    HistoryDesk desk{HistorySettings{}, errors, clock, [] { return NOW_MS; }};
    desk.begin(store);
    tessapi::ChannelRecord channel;
    channel.id = 5;
    channel.type = qz::datatype::float32;
    channel.name = "x";
    desk.meet({}, channel, false);
    for (int minute = 0; minute < 30; ++minute) {
        desk.take({5, qz::CValue{static_cast<float>(minute)}, NOW_MS - (30 - minute) * 60'000});
    }
    auto& inBand = store.inbandAccessor();
    const auto device = store.deviceIdOf(velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "Daemon"});
    const std::uint64_t questions = inBand.idOf(device, HistoryDesk::REQUEST);
    inBand.deliverChannel(questions, qz::CValue{std::string{question}});
    const std::string own = R"({"id":"own","path":"x","channel":5,"columns":3})";
    inBand.deliverChannel(questions, qz::CValue{own});
    const auto value = inBand.channel(device, HistoryDesk::ANSWER).value;
    const Json answer = Json::parse(std::get<std::string>(value.variant()), nullptr, false);
    demand(answer.is_object() && answer.value("id", "") == "own", "the next question has no answer");
    demand(answer.at("columns").size() == 3, "the next answer has other columns");
}

} // namespace

VELK_FUZZER(history) {
    if (input.size() < 2) {
        return;
    }
    if (input.front() == 'q') {
        ask(input.substr(1));
        return;
    }
    const auto kind = static_cast<HistoryKind>(static_cast<std::uint8_t>(input[0]) % 3);
    const auto type =
        static_cast<qz::datatype>(static_cast<std::uint32_t>(static_cast<std::uint8_t>(input[1])) %
                                  (static_cast<std::uint32_t>(qz::datatype::binary) + 1));
    read(kind, type, input.substr(2));
}
