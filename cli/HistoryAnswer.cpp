#include "cli/HistoryAnswer.h"

#include "platform/common/WholeNumber.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

namespace {

using AnswerJson = nlohmann::ordered_json;

std::optional<HistoryAnswer::Column> columnOf(const AnswerJson& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    return HistoryAnswer::Column{json.at(0).get<double>(), json.at(1).get<double>(), json.at(2).get<double>(),
                                 json.at(3).get<double>()};
}

qz::CValue valueOf(const AnswerJson& json, qz::datatype type) {
    if (json.is_null()) {
        return {};
    }
    switch (type) {
    case qz::datatype::boolean:
        return qz::CValue{json.get<bool>()};
    case qz::datatype::int32:
        return qz::CValue{common::wholeNumber<std::int32_t>(json)};
    case qz::datatype::int64:
        return qz::CValue{common::wholeNumber<std::int64_t>(json)};
    case qz::datatype::uint32:
        return qz::CValue{common::wholeNumber<std::uint32_t>(json)};
    case qz::datatype::uint64:
        return qz::CValue{common::wholeNumber<std::uint64_t>(json)};
    case qz::datatype::timestamp: {
        qz::CTimestamp time;
        time.seconds = common::wholeNumber<std::int64_t>(json);
        return qz::CValue{time};
    }
    default:
        return qz::CValue{json.get<std::string>()};
    }
}

/// Throws what the parser throws when something is missing or of another kind.
void addRest(HistoryAnswer& answer, const AnswerJson& json, qz::datatype type) {
    json.at("kind").get_to(answer.kind);
    common::takeWhole(json.at("fromMs"), answer.fromMs);
    common::takeWhole(json.at("toMs"), answer.toMs);
    common::takeWhole(json.at("oldestMs"), answer.oldestMs);
    if (answer.kind == "number") {
        for (const AnswerJson& column : json.at("columns")) {
            answer.columns.push_back(columnOf(column));
        }
        answer.whole = columnOf(json.at("whole"));
        return;
    }
    for (const AnswerJson& change : json.at("changes")) {
        answer.changes.push_back(
            {common::wholeNumber<std::int64_t>(change.at(0)), valueOf(change.at(1), type)});
    }
    common::takeWhole(json.at("leftOut"), answer.leftOut);
}

} // namespace

std::int64_t HistoryAnswer::beginOf(std::size_t index) const {
    const double share = static_cast<double>(index) / static_cast<double>(columns.size());
    return fromMs + static_cast<std::int64_t>(static_cast<double>(toMs - fromMs) * share);
}

std::optional<HistoryAnswer> HistoryAnswer::parse(const AnswerJson& json, qz::datatype type) {
    try {
        HistoryAnswer answer;
        json.at("enabled").get_to(answer.enabled);
        if (answer.enabled) {
            json.at("known").get_to(answer.known);
        }
        if (answer.known) {
            addRest(answer, json, type);
        }
        return answer;
    } catch (const AnswerJson::exception&) {
        return std::nullopt;
    }
}

} // namespace velk::cli
