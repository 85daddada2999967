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

/// Whether somebody may still wait for the answer.
bool isAwaited(const QuestionJson& question) {
    const auto until = question.find("untilMs");
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return until == question.end() || !until->is_number_integer() ||
           until->get<std::int64_t>() >= std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

bool isQuestion(const QuestionJson& question) {
    return question.is_object() && question.contains("id") && question["id"].is_string() &&
           isAwaited(question);
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
        const QuestionJson question = QuestionJson::parse(*text, nullptr, false);
        const std::optional<QuestionJson> given = isQuestion(question) ? answer(question) : std::nullopt;
        if (given) {
            QuestionJson whole{{"id", question["id"]}};
            whole.update(*given);
            inband.setChannelCValue(
                answers, qz::CValue{whole.dump(-1, ' ', false, QuestionJson::error_handler_t::replace)});
        }
    };
    inband.subscribeMultipleChannels({questions}, onQuestion, qz::sub::everyWrite, nullptr);
}

} // namespace velk::daemon
