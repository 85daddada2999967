#include "daemon/QuestionDesk.h"

#include "daemon/WriteJournal.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/InBandAccessor.h"

#include <chrono>
#include <string>
#include <utility>

namespace velk::daemon {

namespace {

using QuestionJson = nlohmann::ordered_json;

using Clock = std::chrono::steady_clock;

/// Whether somebody may still wait for the answer to what was heard at `arrival`. The clock of the asker, who
/// may be on another machine, does not matter.
bool isAwaited(const QuestionJson& question, Clock::time_point arrival) {
    const auto patience = question.find("forMs");
    return patience == question.end() || !patience->is_number_integer() ||
           patience->get<std::int64_t>() >
               std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - arrival).count();
}

bool isQuestion(const QuestionJson& question) {
    return question.is_object() && question.contains("id") && question["id"].is_string();
}

} // namespace

void listenForQuestions(tessapi::ITessAccessor& client, const QuestionChannels& channels, Answerer answer) {
    tessapi::InBandAccessor& inband = client.inbandAccessor();
    const std::uint64_t device = WriteJournal::emplaceDaemonDevice(client);
    const std::uint64_t answers = inband.emplaceChannel(device, channels.answers, false);
    const std::uint64_t questions = inband.emplaceChannel(device, channels.questions, false);
    const auto onQuestion = [&inband, answers, answer = std::move(answer)](std::uint64_t,
                                                                           const qz::CValue& value) {
        const std::string* text = std::get_if<std::string>(&value.variant());
        if (text == nullptr || text->size() > LONGEST_QUESTION) {
            return;
        }
        const Clock::time_point arrival = Clock::now();
        const QuestionJson question = QuestionJson::parse(*text, nullptr, false);
        const std::optional<QuestionJson> given = isQuestion(question) ? answer(question) : std::nullopt;
        if (given && isAwaited(question, arrival)) {
            QuestionJson whole{{"id", question["id"]}};
            whole.update(*given);
            inband.setChannelCValue(
                answers, qz::CValue{whole.dump(-1, ' ', false, QuestionJson::error_handler_t::replace)});
        }
    };
    inband.subscribeMultipleChannels({questions}, onQuestion, qz::sub::everyWrite, nullptr);
}

} // namespace velk::daemon
