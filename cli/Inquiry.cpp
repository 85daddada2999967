#include "cli/Inquiry.h"

#include "cli/Communication.h"
#include "cli/JournalEntry.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/InBandAccessor.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <random>
#include <sstream>
#include <unistd.h>
#include <utility>

namespace velk::cli {

using Json = nlohmann::ordered_json;
using velk::common::MutexLock;

namespace {

/// Outlives the inquiry while a call of the store is still running in it.
struct AnswerBox {
    velk::common::Mutex mutex;
    std::condition_variable_any arrived;
    std::optional<Json> answer VELK_GUARDED_BY(mutex);
};

/// No other question has it.
std::string freshId() {
    std::random_device chance;
    std::ostringstream text;
    text << getpid() << "-" << std::hex << chance() << chance();
    return text.str();
}

/// A subscription for a scope.
class Listening {
public:
    Listening(tessapi::InBandAccessor& store, std::uint64_t channel,
              tessapi::InBandAccessor::ChannelCallback callback) :
        inband{store} {
        inband.subscribeMultipleChannels({channel}, std::move(callback), qz::sub::everyWrite, &subscription);
    }
    ~Listening() { inband.unsubscribe(subscription); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

private:
    tessapi::InBandAccessor& inband;
    std::uint64_t subscription{0};
};

std::optional<Json> waitForAnswer(AnswerBox& box, velk::common::Clock& clock,
                                  velk::common::Clock::Duration timeout) {
    const velk::common::Clock::Duration deadline = clock.now() + timeout;
    MutexLock lock{box.mutex};
    while (!box.answer) {
        const velk::common::Clock::Duration left = deadline - clock.now();
        if (left <= velk::common::Clock::Duration::zero()) {
            return std::nullopt;
        }
        clock.waitFor(box.arrived, lock, left);
    }
    return box.answer;
}

} // namespace

Inquiry::Result Inquiry::ask(Session& session, const Communication& communication, const std::string& path,
                             velk::common::Clock::Duration timeout) {
    return ask(session, communication, {REQUEST, ANSWER}, Json{{"path", path}}, timeout);
}

bool Inquiry::isDaemonSilent(Session& session, const Communication& communication,
                             velk::common::Clock::Duration timeout) {
    try {
        // Of no point: the device is not asked, so that it does not matter how slow that is.
        const Result result = ask(session, communication, ".", timeout);
        return result.asked && !result.answer;
    } catch (const boost::system::system_error&) {
        return false; // this user may only read
    }
}

Inquiry::Result Inquiry::ask(Session& session, const Communication& communication, const Subject& subject,
                             const Json& question, velk::common::Clock::Duration timeout) {
    tessapi::InBandAccessor& inband = session.store.inbandAccessor();
    const std::uint64_t device = session.store.deviceIdOf(JournalEntry::deviceUuid());
    const std::uint64_t answers = inband.getCatchedChannelId(device, subject.answer);
    const std::uint64_t questions = inband.getCatchedChannelId(device, subject.request);
    if (answers == tessapi::ITessAccessor::UNKNOWN_ID || questions == tessapi::ITessAccessor::UNKNOWN_ID) {
        return {std::nullopt, "no daemon has ever answered questions in this store", false};
    }
    if (communication.isDaemonGone()) {
        return {std::nullopt, "the daemon is not running", false};
    }
    const auto box = std::make_shared<AnswerBox>();
    const std::string id = freshId();
    const Listening listening{inband, answers, [box, id](std::uint64_t, const qz::CValue& value) {
                                  const std::string* text = std::get_if<std::string>(&value.variant());
                                  Json answer = Json::parse(text == nullptr ? "" : *text, nullptr, false);
                                  if (answer.is_object() && answer.value("id", Json{}) == Json(id)) {
                                      const MutexLock lock{box->mutex};
                                      box->answer = std::move(answer);
                                      box->arrived.notify_all();
                                  }
                              }};
    // One that waits for its device answers as fast as any; most often there is none.
    const bool isAtRest = communication.isDaemonAtRest();
    const velk::common::Clock::Duration patience = isAtRest ? std::min(timeout, AT_REST) : timeout;
    Json asked{{"id", id}};
    asked.update(question);
    asked["forMs"] = std::chrono::duration_cast<std::chrono::milliseconds>(patience).count();
    inband.setChannelCValue(questions,
                            qz::CValue{asked.dump(-1, ' ', false, Json::error_handler_t::replace)});
    std::optional<Json> answer = waitForAnswer(*box, session.clock, patience);
    const std::string silence = answer     ? ""
                                : isAtRest ? "the daemon is not at work and does not answer"
                                           : "the daemon does not answer";
    return {std::move(answer), silence};
}

} // namespace velk::cli
