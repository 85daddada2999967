#include "daemon/ExplainDesk.h"

#include "daemon/WriteJournal.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/InBandAccessor.h"

#include <chrono>
#include <exception>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

namespace velk::daemon {

namespace {

using velk::common::MutexLock;
using velk::powerdistribution::PointDescription;
using velk::powerdistribution::PointPublisher;
using ExplainJson = nlohmann::ordered_json;
using Age = std::optional<std::chrono::nanoseconds>;

ExplainJson secondsOf(const Age& age) {
    constexpr double millisecondsASecond = 1000.0;
    if (!age) {
        return nullptr;
    }
    const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(*age).count();
    return static_cast<double>(whole) / millisecondsASecond;
}

ExplainJson textOrNull(const std::string& text) {
    return text.empty() ? ExplainJson(nullptr) : ExplainJson(text);
}

/// Milliseconds since 1970 of what was so long ago; null for never.
ExplainJson momentOf(const Age& age, std::chrono::milliseconds now) {
    return age ? ExplainJson((now - std::chrono::duration_cast<std::chrono::milliseconds>(*age)).count())
               : ExplainJson(nullptr);
}

ExplainJson jsonOf(const PointPublisher& publisher, std::chrono::milliseconds now) {
    ExplainJson json;
    json["kind"] = publisher.kind;
    json["plugin"] = textOrNull(publisher.plugin);
    json["rule"] = textOrNull(publisher.rule);
    json["rank"] = publisher.rank ? ExplainJson(*publisher.rank) : ExplainJson(nullptr);
    json["reads"] = publisher.reads;
    json["lastReadMs"] = momentOf(publisher.sinceRead, now);
    json["periodSeconds"] = secondsOf(publisher.period);
    json["gaveNothing"] = publisher.gaveNothing;
    json["error"] = textOrNull(publisher.failure);
    json["errorMs"] = momentOf(publisher.sinceFailure, now);
    return json;
}

std::chrono::milliseconds sinceEpoch() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
}

/// Whether somebody may still wait for the answer.
bool isAwaited(const ExplainJson& question) {
    const auto until = question.find("untilMs");
    return until == question.end() || !until->is_number_integer() ||
           until->get<std::int64_t>() >= sinceEpoch().count();
}

} // namespace

ExplainDesk::ExplainDesk(Opener storeOpener, std::ostream& errorStream) :
    opener{std::move(storeOpener)}, errors{errorStream} {}

ExplainDesk::~ExplainDesk() = default;

void ExplainDesk::open() {
    const MutexLock lock{mutex};
    try {
        listen();
        failing = false;
    } catch (const std::exception& failure) {
        if (!std::exchange(failing, true)) {
            errors << std::string{"powerdistributiond: questions of tess explain cannot be heard: "} +
                          failure.what() + "\n"
                   << std::flush;
        }
    }
}

void ExplainDesk::listen() {
    if (store) {
        return;
    }
    std::unique_ptr<tessapi::ITessAccessor> opened = opener();
    tessapi::ITessAccessor& client = *opened;
    tessapi::InBandAccessor& inband = client.inbandAccessor();
    const std::uint64_t device = WriteJournal::emplaceDaemonDevice(client);
    const std::uint64_t answers = inband.emplaceChannel(device, ANSWER, false);
    const std::uint64_t questions = inband.emplaceChannel(device, REQUEST, false);
    inband.subscribeMultipleChannels(
        {questions},
        [this, &client, answers](std::uint64_t, const qz::CValue& value) {
            if (const std::string* text = std::get_if<std::string>(&value.variant())) {
                onQuestion(client, answers, *text);
            }
        },
        qz::sub::everyWrite, nullptr);
    store = std::move(opened);
}

void ExplainDesk::setDescribe(Describe present) {
    const MutexLock lock{describing};
    describe = std::move(present);
}

void ExplainDesk::onQuestion(tessapi::ITessAccessor& client, std::uint64_t answers, const std::string& text) {
    if (text.size() > LONGEST_QUESTION) {
        return;
    }
    const ExplainJson question = ExplainJson::parse(text, nullptr, false);
    const auto isText = [&question](const char* name) {
        return question.is_object() && question.contains(name) && question[name].is_string();
    };
    if (isText("id") && isText("path") && isAwaited(question)) {
        const std::string answer = answerTo(question["id"], question["path"]);
        client.inbandAccessor().setChannelCValue(answers, qz::CValue{answer});
    }
}

std::string ExplainDesk::answerTo(const std::string& id, const std::string& path) {
    const std::chrono::milliseconds now = sinceEpoch();
    PointDescription description;
    {
        const MutexLock lock{describing};
        if (describe) {
            description = describe(path);
        }
    }
    ExplainJson json;
    json["id"] = id;
    json["path"] = path;
    json["modelBuilt"] = description.modelBuilt;
    json["modelError"] = textOrNull(description.modelFailure);
    json["publishers"] = ExplainJson::array();
    for (const PointPublisher& publisher : description.publishers) {
        json["publishers"].push_back(jsonOf(publisher, now));
    }
    return json.dump(-1, ' ', false, ExplainJson::error_handler_t::replace);
}

} // namespace velk::daemon
