#include "platform/tessapi/network/ValueSender.h"

#include "platform/tessapi/network/Packer.h"
#include "platform/tessapi/network/SiteCodec.h"

namespace tessapi {

namespace {

/// About: two arguments, of which the second has a number.
constexpr std::size_t BYTES_OF_A_WRITE = 56;

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
    const auto reply = answer.view();
    if (reply.isInteger()) {
        link.note(reply.integer());
        return {};
    }
    Verdict verdict;
    if (reply.at(0).text() == "behind") {
        verdict.kind = Verdict::Kind::behind;
        verdict.done = reply.at(1).id();
        return verdict;
    }
    verdict.channel = reply.at(1).id();
    verdict.kind = Verdict::Kind::unknownChannel;
    if (reply.at(0).text() == "type") {
        verdict.kind = Verdict::Kind::otherType;
        verdict.type = static_cast<qz::datatype>(reply.at(2).integer());
        verdict.name = reply.at(3).text();
    }
    return verdict;
}

} // namespace tessapi
