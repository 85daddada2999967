#pragma once

#include "platform/tessapi/ITessAccessor.h"

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>

namespace velk::daemon {

/// A longer question is none.
constexpr std::size_t LONGEST_QUESTION = 4096;

/// The channels of the daemon's own device by which questions come and answers go.
struct QuestionChannels {
    const char* questions;
    const char* answers;
};

/// The answer to a question, without its "id"; empty for what is no question.
using Answerer = std::function<std::optional<nlohmann::ordered_json>(const nlohmann::ordered_json& question)>;

/// Answers the questions that programs write into the store, from now until `client` goes, which must outlive
/// what `answer` refers to.
///
/// A question is an object with an "id" that the asker makes up; the answer has the same. Every write is a
/// question of its own, so any number of programs may ask at once; each looks for its id among the answers.
/// The asker waits for "forMs"; an answer that takes longer from the arrival of the question is not written.
/// It may be left out.
///
/// Threads: `answer` is called on the store's client thread.
void listenForQuestions(tessapi::ITessAccessor& client, const QuestionChannels& channels, Answerer answer);

} // namespace velk::daemon
