#include "platform/tessapi/network/ValueSender.h"

#include "platform/tessapi/network/Packer.h"
#include "platform/tessapi/network/SiteCodec.h"

#include <random>

namespace tessapi {

namespace {

/// About: two arguments, of which the second has a number.
constexpr std::size_t BYTES_OF_A_WRITE = 56;

std::string randomBytes() {
    std::random_device source;
    return Packer{}
        .number(static_cast<std::uint32_t>(source()))
        .number(static_cast<std::uint32_t>(source()))
        .take();
}

} // namespace

ValueSender::ValueSender(RedisLink& server, const Engine::Options& kept) :
    link{server}, changesKept{kept.changesKept}, eventsKept{kept.eventsKept}, program{randomBytes()} {}

std::string ValueSender::nextMark() {
    return program + Packer{}.number(++writes).take();
}

Command ValueSender::write(const std::string& function, const std::string& mark, std::int64_t seen,
                           bool again, std::int64_t timeMs) const {
    auto command = link.keys.function(function, false);
    command.add(link.token()).add(seen).add(mark).add(again ? "1" : "0").add(changesKept).add(eventsKept);
    return command.add(Packer{}.number(timeMs).take());
}

ValueSender::Verdict ValueSender::send(const Outbox::Batch& batch) {
    const auto answer = link.call([&](bool again) {
        auto command = write("set", batch.mark, batch.seen, again || batch.sentBefore, 0);
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
