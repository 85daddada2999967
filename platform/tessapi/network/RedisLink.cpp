#include "platform/tessapi/network/RedisLink.h"

#include "platform/common/Clock.h"
#include "platform/tessapi/RootDevice.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/network/FunctionLibrary.h"
#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"
#include "platform/tessapi/network/Unpacker.h"

#include <optional>
#include <random>
#include <string_view>

namespace tessapi {

namespace {

using velk::common::MutexLock;

/// For a connection that is made anew while others wait for the outcome.
constexpr std::chrono::milliseconds CONNECT_TIME{1000};
constexpr std::chrono::milliseconds RETRY_PAUSE{10};

/// 32 hexadecimal digits.
std::string makeIdentity() {
    static constexpr const char* DIGITS = "0123456789abcdef";
    std::random_device source;
    std::string text;
    for (int i = 0; i < 32; ++i) {
        text += DIGITS[source() % 16];
    }
    return text;
}

std::string rootIdentity() {
    const auto& bytes = ROOT_UUID.data();
    return {bytes.begin(), bytes.end()};
}

void raise(std::atomic<std::int64_t>& number, std::int64_t wanted) {
    auto known = number.load();
    while (known < wanted && !number.compare_exchange_weak(known, wanted)) {
    }
}

/// A server that answers so is no better than one that does not answer.
bool isAbsence(const std::string& code) {
    return code == "LOADING" || code == "READONLY" || code == "CLUSTERDOWN" || code == "MASTERDOWN" ||
           code == "NOAUTH" || code == "WRONGPASS";
}

} // namespace

RedisLink::RedisLink(const NetworkUrl& store, std::chrono::milliseconds longestWait) :
    keys{store.site}, patience{longestWait}, url{store}, finder{store} {}

std::string RedisLink::open(bool create, const std::string& catalogue) {
    MutexLock lock{mutex};
    const auto deadline = Deadline::in(patience);
    connection = finder.connect(deadline);
    auto [id, catalogueOfSite] = greet(create, catalogue, deadline);
    identity = std::move(id);
    return catalogueOfSite;
}

void RedisLink::note(std::int64_t seq) {
    raise(newest, seq);
}

void RedisLink::noteBase(std::int64_t seq) {
    raise(historyBase, seq);
}

std::string RedisLink::whyAway() {
    MutexLock lock{causeMutex};
    return cause;
}

void RedisLink::checkUsable() {
    if (gone) {
        lose();
    }
    if (away) {
        MutexLock lock{causeMutex};
        throw LinkError{cause};
    }
}

void RedisLink::lose() {
    gone = true;
    throwStoreFault(store(), StoreFault::lost, "");
}

void RedisLink::leave(const std::string& why) {
    connection.reset();
    {
        MutexLock lock{causeMutex};
        cause = why;
    }
    away = true;
    throw LinkError{why};
}

Reply RedisLink::call(const Command& command) {
    return call([&command](bool /*again*/) { return command; });
}

Reply RedisLink::call(const Make& make) {
    checkUsable();
    MutexLock lock{mutex};
    checkUsable(); // another thread may have found out meanwhile
    const auto deadline = Deadline::in(patience);
    std::string why;
    try {
        if (!connection) { // the last one led to something else than this store
            connect(deadline.within(CONNECT_TIME));
        }
        return exchange(make, false, deadline);
    } catch (const LinkError& failure) {
        why = failure.what();
    }
    if (deadline.isOver()) {
        leave(why);
    }
    // A server that was started anew has closed the connection, and no more is wrong with it.
    try {
        connect(deadline.within(CONNECT_TIME));
        return exchange(make, true, deadline);
    } catch (const LinkError& failure) {
        leave(failure.what());
    }
}

void RedisLink::connect(const Deadline& deadline) {
    connection.reset();
    connection = finder.connect(deadline);
    ++connections;
    greetAgain(deadline);
}

void RedisLink::greetAgain(const Deadline& deadline) {
    try {
        greet(false, "", deadline);
    } catch (const ServerRefusal& refusal) {
        connection.reset();
        throw LinkError{refusal.what()};
    } catch (...) {
        connection.reset(); // nothing may be read from what may be another store
        throw;
    }
}

bool RedisLink::tryToReturn() {
    MutexLock lock{mutex};
    if (!away) {
        return true;
    }
    try {
        connect(Deadline::in(CONNECT_TIME));
    } catch (const LinkError& failure) {
        connection.reset();
        MutexLock causeLock{causeMutex};
        cause = failure.what();
        return false;
    }
    away = false;
    return true;
}

std::unique_ptr<RedisConnection> RedisLink::another() {
    checkUsable();
    MutexLock lock{mutex};
    return finder.connect(Deadline::in(CONNECT_TIME));
}

std::pair<std::string, std::string> RedisLink::greet(bool create, const std::string& catalogue,
                                                     const Deadline& deadline) {
    const auto fresh = makeIdentity();
    const auto hello = [&](bool /*again*/) {
        auto command = keys.function("hello", false);
        command.add(identity).add(seen()).add(create ? "1" : "0").add(fresh);
        command.add(rootIdentity()).add(catalogue);
        return command.add(writers.values).add(writers.others).add(writers.givenUp());
    };
    try {
        return enter(exchange(hello, false, deadline, Talk::greeting).view());
    } catch (const ServerRefusal& refusal) {
        if (!refusal.mayPass()) {
            throw;
        }
        return enterToRead(refusal, deadline);
    }
}

std::pair<std::string, std::string> RedisLink::enterToRead(const ServerRefusal& refusal,
                                                           const Deadline& deadline) {
    const auto ask = [&](const Command& command) VELK_REQUIRES(mutex) {
        return exchange([&](bool /*again*/) { return command; }, false, deadline, Talk::greeting);
    };
    const auto site = ask(
        {"HMGET", keys.self, "id", "format", "catalogue", "history", "seq", "base", "w" + writers.values});
    const auto textAt = [&site](std::size_t place) {
        const auto part = site.view().at(place);
        return part.isNil() ? std::string{} : std::string{part.text()};
    };
    const auto replication = ask({"INFO", "replication"});
    const bool goesOn =
        !textAt(0).empty() && (identity.empty() || identity == textAt(0)) &&
        textAt(1) == std::to_string(FORMAT) && !textAt(3).empty() &&
        replication.view().text().find("master_replid:" + textAt(3)) != std::string_view::npos &&
        site.view().at(4).integer() >= seen();
    if (!goesOn) {
        throw refusal; // whatever is to be done about it is a write
    }
    note(site.view().at(4).integer());
    noteBase(site.view().at(5).isNil() ? 0 : site.view().at(5).integer());
    const auto calls = textAt(6);
    greeted(calls.size() < sizeof(std::uint64_t) ? 0 : Unpacker{calls}.number<std::uint64_t>());
    return {textAt(0), textAt(2)};
}

std::pair<std::string, std::string> RedisLink::enter(ReplyView answer) {
    const auto word = answer.at(0).text();
    if (word == "gone") {
        lose();
    }
    if (word == "missing") {
        throwStoreFault(store(), StoreFault::missing, "");
    }
    if (word == "foreign") {
        throwStoreFault(store(), StoreFault::foreign, "the key of the site");
    }
    if (word == "format") {
        throwStoreFault(store(), StoreFault::wrongVersion,
                        "format " + std::string{answer.at(1).text()} + ", expected " +
                            std::to_string(FORMAT));
    }
    note(answer.at(2).integer());
    noteBase(answer.at(4).integer());
    greeted(answer.at(5).id());
    return {std::string{answer.at(1).text()}, std::string{answer.at(3).text()}};
}

Reply RedisLink::exchange(const Make& make, bool again, const Deadline& deadline, Talk talk) {
    std::optional<Endpoint> elsewhere;
    std::optional<std::uint64_t> loadedOver; // which connection: whoever has the functions is asked once more
    for (;;) {
        const auto command = make(again);
        try {
            return elsewhere ? askElsewhere(*elsewhere, command, deadline)
                             : connection->call(command, deadline);
        } catch (const ServerRefusal& refusal) {
            elsewhere.reset();
            if (deadline.isOver()) {
                giveUpOn(refusal);
            }
            if (refusal.code() == "ASK") {
                elsewhere = finder.redirection(refusal.what());
            } else if (refusal.isWithoutFunctions() && loadedOver != generation()) {
                FunctionLibrary::load(*connection, deadline);
                loadedOver = generation();
            } else if (!mend(refusal, deadline, talk)) {
                throw;
            }
        }
    }
}

void RedisLink::giveUpOn(const ServerRefusal& refusal) {
    if (refusal.code() == "MOVED" || refusal.code() == "ASK") { // nodes that do not agree yet
        throw LinkError{refusal.what()};
    }
    throw refusal;
}

bool RedisLink::mend(const ServerRefusal& refusal, const Deadline& deadline, Talk talk) {
    const auto code = refusal.code();
    const std::string text{refusal.what()};
    if (code == "TESSGONE") {
        lose();
    }
    if (isAbsence(code)) {
        throw LinkError{text};
    }
    if (code == "MOVED") {
        finder.follow(finder.redirection(text));
        connection = finder.connect(deadline);
        ++connections;
        if (talk == Talk::work) {
            greetAgain(deadline); // it may be another one that has taken the site over
        }
        return true;
    }
    if (code == "TRYAGAIN") {
        velk::common::Clock::system().sleepFor(RETRY_PAUSE);
        return true;
    }
    return false;
}

Reply RedisLink::askElsewhere(const Endpoint& server, const Command& command, const Deadline& deadline) {
    const auto other = finder.connectTo(server, deadline);
    const auto asked = [&] {
        other->call({"ASKING"}, deadline);
        return other->call(command, deadline);
    };
    try {
        return asked();
    } catch (const ServerRefusal& refusal) {
        if (!refusal.isWithoutFunctions()) {
            throw;
        }
        FunctionLibrary::load(*other, deadline);
        return asked();
    }
}

} // namespace tessapi
