#include "platform/tessapi/network/ValueSender.h"

#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/Packer.h"
#include "platform/tessapi/network/SiteCodec.h"

#include <algorithm>

namespace tessapi {

namespace {

/// About: two arguments, of which the second has a number.
constexpr std::size_t BYTES_OF_A_WRITE = 56;

/// Whoever sent the batch would wonder in vain what is wrong with it.
[[noreturn]] void refuse() {
    throw LinkError{"an answer that no server of a store gives: it is about other values"};
}

} // namespace

ValueSender::ValueSender(RedisLink& server, std::int64_t changes, std::int64_t events) :
    link{server}, changesKept{changes}, eventsKept{events} {}

Command ValueSender::write(const std::string& function, const std::string& writer, std::uint64_t number,
                           bool again, std::int64_t timeMs) const {
    auto command = link.keys.function(function, false);
    command.add(link.token()).add(link.seen()).add(writer).add(number).add(again ? "1" : "0");
    command.add(changesKept).add(eventsKept);
    return command.add(Packer{}.number(timeMs).take());
}

ValueSender::Verdict ValueSender::send(const Outbox::Batch& batch) {
    const auto answer = link.call([&](bool /*again*/) {
        auto command = write("set", link.writers.values, batch.number, batch.afterGap, 0);
        command.reserve(BYTES_OF_A_WRITE * batch.changes.size());
        for (const auto& change : batch.changes) {
            command.add(change.object).add(SiteCodec::packChange(change));
        }
        return command;
    });
    if (answer.view().isInteger()) {
        link.note(answer.view().integer());
        return {};
    }
    return verdictOf(answer.view(), batch);
}

ValueSender::Verdict ValueSender::verdictOf(ReplyView reply, const Outbox::Batch& batch) {
    const auto word = reply.at(0).text();
    Verdict verdict;
    if (word == "behind") {
        verdict.kind = Verdict::Kind::behind;
        verdict.done = reply.at(1).id();
        if (batch.afterGap || verdict.done >= batch.number) {
            refuse();
        }
        return verdict;
    }
    verdict.kind = Verdict::Kind::unknownChannel;
    verdict.channel = reply.at(1).id();
    if (word == "type") {
        verdict.kind = Verdict::Kind::otherType;
        verdict.type = static_cast<qz::datatype>(reply.at(2).integer());
        verdict.name = reply.at(3).text();
    } else if (word != "unknown") {
        refuse();
    }
    const bool isInBatch =
        std::any_of(batch.changes.begin(), batch.changes.end(), [&verdict](const Change& change) {
            return change.object == verdict.channel &&
                   (verdict.kind == Verdict::Kind::unknownChannel || change.value.type() != verdict.type);
        });
    if (!isInBatch) {
        refuse();
    }
    return verdict;
}

} // namespace tessapi
