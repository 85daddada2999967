#include "daemon/ExplainDesk.h"

#include "daemon/QuestionDesk.h"
#include "platform/common/WallTime.h"

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
    listenForQuestions(*opened, {REQUEST, ANSWER},
                       [this](const ExplainJson& question) { return answerTo(question); });
    store = std::move(opened);
}

void ExplainDesk::setDescribe(Describe present) {
    const MutexLock lock{describing};
    describe = std::move(present);
}

std::optional<ExplainJson> ExplainDesk::answerTo(const ExplainJson& question) {
    const auto asked = question.find("path");
    if (asked == question.end() || !asked->is_string()) {
        return std::nullopt;
    }
    const std::string path = asked->get<std::string>();
    const std::chrono::milliseconds now{velk::common::wallMs()};
    PointDescription description;
    {
        const MutexLock lock{describing};
        if (describe) {
            description = describe(path);
        }
    }
    ExplainJson json;
    json["path"] = path;
    json["modelBuilt"] = description.modelBuilt;
    json["modelError"] = textOrNull(description.modelFailure);
    json["publishers"] = ExplainJson::array();
    for (const PointPublisher& publisher : description.publishers) {
        json["publishers"].push_back(jsonOf(publisher, now));
    }
    return json;
}

} // namespace velk::daemon
