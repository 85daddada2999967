#include "platform/tessapi/network/RedisEngine.h"

#include "platform/common/WallTime.h"
#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/network/BadData.h"
#include "platform/tessapi/network/CatalogueMark.h"
#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"
#include "platform/tessapi/network/SiteCodec.h"
#include "platform/tessapi/network/SiteImage.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tessapi {

namespace {

constexpr auto NO_ID = ITessAccessor::UNKNOWN_ID;
constexpr std::uint64_t HISTORY_AT_A_TIME = 1000;
/// Channels that are made in one call: a server that many sites share does nothing else meanwhile.
constexpr std::size_t CHANNELS_AT_A_TIME = 256;

std::string rawOf(const velk::common::Uuid& uuid) {
    return {uuid.data().begin(), uuid.data().end()};
}

std::uint64_t idOf(ReplyView reply) {
    return reply.isNil() ? NO_ID : reply.id();
}

void addAll(Command& command, const std::vector<std::uint64_t>& ids) {
    command.reserve(12 * ids.size());
    for (const auto id : ids) {
        command.add(id);
    }
}

} // namespace

RedisEngine::RedisEngine(const NetworkUrl& url, const Options& options) :
    catalogue{Catalogue::builtin()},
    link{url, options.longestWait},
    sender{link, url.changes.value_or(std::min<std::int64_t>(options.changesKept, NetworkUrl::CHANGES)),
           options.eventsKept},
    bell{link},
    siteNews{link, bell},
    courier{link, sender, channels} {}

std::shared_ptr<Engine> RedisEngine::open(const NetworkUrl& url, bool create, const Options& options) {
    std::shared_ptr<RedisEngine> engine{new RedisEngine{url, options}};
    engine->connect(create);
    return engine;
}

template <class Work>
auto RedisEngine::guarded(Work work) {
    checkNotForked();
    try {
        return work();
    } catch (const LinkError& failure) {
        if (link.isAway()) {
            courier.expectReturn();
        }
        throwStoreFault(url(), StoreFault::unreachable, failure.what());
    } catch (const ServerRefusal& refusal) {
        throwStoreFault(url(), StoreFault::refused, refusal.what());
    } catch (const BadData& fault) {
        throwStoreFault(url(), StoreFault::corrupt, fault.what());
    }
}

void RedisEngine::connect(bool create) {
    guarded([&] {
        const auto fingerprint = CatalogueMark::of(catalogue);
        if (link.open(create, fingerprint) != fingerprint) {
            retypeChannels(fingerprint);
        }
    });
}

void RedisEngine::retypeChannels(const std::string& fingerprint) {
    const auto answer = ask(link.keys.function("image", true).add("0"));
    const auto store = SiteImage::snapshotOf(answer.view(), catalogue);
    write("retype", [&](Command& command) {
        command.add(fingerprint);
        for (const auto& channel : store.channels) {
            const auto* entry = catalogue.find(channel.name);
            const auto type = entry == nullptr ? qz::datatype::string : entry->type;
            command.add(channel.id).add(static_cast<std::uint32_t>(type)).add(channel.description);
            command.add(SiteCodec::packStates(channel.commonStates));
        }
    });
}

Reply RedisEngine::ask(const Command& command) {
    return guarded([&] { return link.call(command); });
}

template <class Fill>
Reply RedisEngine::write(const char* function, Fill fill) {
    const auto time = velk::common::wallMs();
    std::uint64_t number = 0;
    return guarded([&] {
        try {
            auto answer = link.call([&](bool again) {
                number = number == 0 ? link.writers.nextOther() : number;
                auto command = sender.write(function, link.writers.others, number, again, time);
                fill(command);
                return command;
            });
            if (answer.view().isInteger()) {
                link.note(answer.view().integer());
            }
            return answer;
        } catch (const LinkError&) {
            link.writers.giveUp(number);
            throw;
        }
    });
}

std::uint64_t RedisEngine::deviceIdOf(const velk::common::Uuid& uuid) {
    return guarded([&] { return idOf(ask({"HGET", link.keys.uuids, rawOf(uuid)}).view()); });
}

velk::common::Uuid RedisEngine::uuidOf(std::uint64_t device) {
    return guarded([&] {
        const auto answer = ask({"HGET", link.keys.devices, std::to_string(device)});
        return answer.view().isNil() ? velk::common::Uuid::NIL
                                     : SiteCodec::unpackDevice(device, answer.view().text()).uuid;
    });
}

std::uint64_t RedisEngine::emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parent,
                                         std::uint64_t wanted) {
    if (uuid.isNil()) {
        checkNotForked();
        return NO_ID;
    }
    return guarded([&] {
        const auto answer = write(
            "emplace_device", [&](Command& command) { command.add(rawOf(uuid)).add(parent).add(wanted); });
        forget(answer.view().at(1));
        return idOf(answer.view().at(0));
    });
}

void RedisEngine::removeSubDevices(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                                   unsigned int limit) {
    const auto call = [&](Command& command) {
        command.add(device).add(std::uint32_t{limit});
        addAll(command, keep);
    };
    guarded([&] { forget(write("remove_sub_devices", call).view()); });
}

void RedisEngine::forget(ReplyView gone) {
    for (std::size_t i = 0; i < gone.size(); ++i) {
        channels.forget(gone.at(i).id());
    }
}

qz::CDevice RedisEngine::device(std::uint64_t device) {
    return guarded([&] {
        const auto answer = ask(link.keys.function("device", true).add(device));
        if (answer.view().size() == 0) {
            return qz::CDevice{};
        }
        auto found = SiteCodec::unpackDevice(device, answer.view().at(0).text());
        const auto attributes = answer.view().at(1);
        for (std::size_t number = 0; number < found.attributes.size(); ++number) {
            if (!attributes.at(number).isNil()) {
                found.attributes[number] = attributes.at(number).text();
            }
        }
        return found;
    });
}

std::string RedisEngine::attribute(std::uint64_t device, std::uint32_t number) {
    const auto field = std::to_string(device) + ":" + std::to_string(number);
    return guarded([&] {
        const auto answer = ask({"HGET", link.keys.attributes, field});
        return answer.view().isNil() ? std::string{} : std::string{answer.view().text()};
    });
}

void RedisEngine::setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text) {
    if (number >= qz::CDevice::ATTRIBUTE_COUNT) {
        checkNotForked();
        return;
    }
    write("set_attribute", [&](Command& command) { command.add(device).add(number).add(text); });
}

std::uint64_t RedisEngine::findChannel(std::uint64_t device, const std::string& name) {
    const auto field = std::to_string(device) + ":" + name;
    const auto channel = guarded([&] { return idOf(ask({"HGET", link.keys.names, field}).view()); });
    if (channel != NO_ID) {
        channels.learnName(channel, name);
    }
    return channel;
}

std::uint64_t RedisEngine::emplaceChannel(std::uint64_t device, const std::string& name) {
    return emplaceChannels(device, {name}).front();
}

std::vector<std::uint64_t> RedisEngine::emplaceChannels(std::uint64_t device,
                                                        const std::vector<std::string>& names) {
    checkNotForked();
    std::vector<std::uint64_t> made;
    while (made.size() < names.size()) {
        const auto first = made.size();
        const auto end = std::min(names.size(), first + CHANNELS_AT_A_TIME);
        const auto answer = write("emplace_channels", [&](Command& command) {
            command.add(device);
            for (auto i = first; i < end; ++i) {
                const auto* entry = catalogue.find(names[i]);
                const auto type = entry == nullptr ? qz::datatype::string : entry->type;
                command.add(names[i]).add(static_cast<std::uint32_t>(type));
                command.add(entry == nullptr ? std::string{} : entry->description);
                command.add(entry == nullptr ? std::string{} : SiteCodec::packStates(entry->labels));
            }
        });
        guarded([&] { addMade(answer.view(), names, end, made); });
    }
    return made;
}

void RedisEngine::addMade(ReplyView found, const std::vector<std::string>& names, std::size_t end,
                          std::vector<std::uint64_t>& made) {
    if (found.size() == 0) {
        made.resize(names.size(), NO_ID); // there is no such device
        return;
    }
    if (found.size() != 2 * (end - made.size())) {
        throw LinkError{"an answer that no server of a store gives: it is about other channels"};
    }
    for (std::size_t i = 0; made.size() < end; i += 2) {
        const auto channel = found.at(i).id();
        channels.learnName(channel, names[made.size()]);
        channels.learnType(channel, static_cast<qz::datatype>(found.at(i + 1).integer()));
        made.push_back(channel);
    }
}

void RedisEngine::removeChannels(std::uint64_t device, const std::vector<std::uint64_t>& keep) {
    const auto call = [&](Command& command) {
        command.add(device);
        addAll(command, keep);
    };
    guarded([&] { forget(write("remove_channels", call).view()); });
}

qz::datatype RedisEngine::typeOf(std::uint64_t channel) {
    const auto answer = ask({"HGET", link.keys.values, std::to_string(channel)});
    if (answer.view().isNil()) {
        return qz::datatype::unknown;
    }
    const auto type = guarded([&] { return SiteCodec::unpackRow(answer.view().text()).type; });
    channels.learnType(channel, type);
    return type;
}

qz::CValue RedisEngine::valueOf(std::uint64_t channel) {
    const auto answer = ask({"HGET", link.keys.values, std::to_string(channel)});
    if (answer.view().isNil()) {
        return {};
    }
    return guarded([&] { return SiteCodec::unpackRow(answer.view().text()).value; });
}

void RedisEngine::setValue(std::uint64_t channel, const qz::CValue& value) {
    setValues({{channel, value}});
}

void RedisEngine::setValues(const std::vector<ChannelValue>& values) {
    checkNotForked();
    if (values.empty()) {
        return;
    }
    if (courier.isBusy()) {
        learnTypes(values);
    }
    const auto verdict = guarded([&] { return courier.send(values); });
    if (verdict.kind == ValueSender::Verdict::Kind::unknownChannel) {
        throw std::runtime_error{"channel " + std::to_string(verdict.channel) + " is not in the store"};
    }
    if (verdict.kind == ValueSender::Verdict::Kind::otherType) {
        const auto refused = std::find_if(values.begin(), values.end(), [&](const auto& value) {
            return value.first == verdict.channel && value.second.type() != verdict.type;
        });
        throw std::invalid_argument{
            ChannelMemory::refusal(verdict.channel, verdict.name, verdict.type, refused->second)};
    }
}

/// Values that have to wait behind others are taken if their channels are known; so these are.
void RedisEngine::learnTypes(const std::vector<ChannelValue>& values) {
    if (channels.knows(values)) {
        return;
    }
    for (const auto& [channel, _] : values) {
        if (typeOf(channel) == qz::datatype::unknown) {
            throw std::runtime_error{"channel " + std::to_string(channel) + " is not in the store"};
        }
    }
}

void RedisEngine::setAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) {
    write("set_alarms", [&](Command& command) { command.add(channel).add(SiteCodec::packTriggers(config)); });
}

void RedisEngine::setStates(std::uint64_t channel, const qz::CMultistateMap& states) {
    write("set_states", [&](Command& command) { command.add(channel).add(SiteCodec::packStates(states)); });
}

std::optional<ActiveAlarm> RedisEngine::mostCriticalOf(std::uint64_t device) {
    return guarded([&]() -> std::optional<ActiveAlarm> {
        const auto answer = ask(link.keys.function("worst_of", true).add(device));
        const auto found = answer.view();
        if (found.size() == 0) {
            return std::nullopt;
        }
        return ActiveAlarm{true, static_cast<LevelAlarm>(found.at(0).integer()),
                           static_cast<std::int32_t>(found.at(1).integer()), std::string{found.at(2).text()},
                           found.at(3).id()};
    });
}

StoreSnapshot RedisEngine::snapshot() {
    const auto answer = ask(link.keys.function("image", true).add("0"));
    return guarded([&] { return SiteImage::snapshotOf(answer.view(), catalogue); });
}

template <class Entry, class Unpack>
std::vector<Entry> RedisEngine::entriesOf(const std::string& key, std::int64_t sinceMs, std::size_t limit,
                                          Unpack unpack) {
    std::vector<Entry> found;
    std::string from{"+"};
    while (found.size() < limit) {
        Command command{"XREVRANGE", key, from, "-", "COUNT"};
        const auto answer = ask(command.add(HISTORY_AT_A_TIME));
        const auto entries = answer.view();
        for (std::size_t i = 0; i < entries.size() && found.size() < limit; ++i) {
            auto entry =
                unpack(SiteCodec::numberOf(entries.at(i).at(0).text()), entries.at(i).at(1).at(1).text());
            if (entry.timeMs >= sinceMs) {
                found.push_back(std::move(entry));
            }
        }
        if (entries.size() < HISTORY_AT_A_TIME) {
            break;
        }
        from = "(" + std::string{entries.at(entries.size() - 1).at(0).text()};
    }
    std::reverse(found.begin(), found.end());
    return found;
}

std::vector<AlarmEvent> RedisEngine::alarmEvents(std::int64_t sinceMs, std::size_t limit) {
    return guarded(
        [&] { return entriesOf<AlarmEvent>(link.keys.events, sinceMs, limit, SiteCodec::unpackEvent); });
}

std::vector<WriteRecord> RedisEngine::writeRecords(std::int64_t sinceMs, std::size_t limit) {
    return guarded(
        [&] { return entriesOf<WriteRecord>(link.keys.records, sinceMs, limit, SiteCodec::unpackRecord); });
}

void RedisEngine::recordWrite(const WriteRecord& record) {
    write("record_write", [&](Command& command) { command.add(SiteCodec::packRecord(record)); });
}

StoreImage RedisEngine::image() {
    const auto answer = ask(link.keys.function("image", true).add("1"));
    return guarded([&] { return SiteImage::imageOf(answer.view(), catalogue); });
}

void RedisEngine::fill(const StoreImage& image) {
    const auto answer = write("fill", [&](Command& command) { SiteImage::addTo(command, image, catalogue); });
    if (guarded([&] { return answer.view().at(0).text(); }) != "ok") {
        throwStoreFault(url(), StoreFault::occupied, "cannot fill");
    }
}

StoreHealth RedisEngine::health() {
    auto health = Engine::health();
    health.engine = "redis";
    const auto kept = waiting();
    health.waitingWrites = kept.writes;
    health.waitingSinceMs = kept.sinceMs;
    health.schemaOfEngine = RedisLink::FORMAT;
    const auto text = guarded([&] {
        const auto format = ask({"HGET", link.keys.self, "format"});
        health.schemaVersion = format.view().isNil() ? 0 : format.view().integer();
        return std::string{ask({"INFO", "server"}).view().text()};
    });
    if (const auto version = text.find("redis_version:"); version != std::string::npos) {
        const auto start = text.find(':', version) + 1;
        health.server = "version " + text.substr(start, text.find('\r', start) - start);
    }
    return health;
}

Engine::Start RedisEngine::startOf(const std::vector<std::uint64_t>& wanted) {
    auto command = link.keys.function("start", true);
    addAll(command, wanted);
    const auto answer = ask(command);
    return guarded([&] {
        Start start;
        start.seq = answer.view().at(0).integer();
        const auto rows = answer.view().at(1);
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const bool known = i < rows.size() && !rows.at(i).isNil();
            start.values.emplace(wanted[i],
                                 known ? SiteCodec::unpackRow(rows.at(i).text()).value : qz::CValue{});
        }
        siteNews.begin(NewsFeed::writersOf(answer.view().at(2)), start.seq);
        return start;
    });
}

Engine::News RedisEngine::newsAfter(std::int64_t seq) {
    try {
        auto news = guarded([&] { return siteNews.after(seq); });
        unheard = false;
        return news;
    } catch (const boost::system::system_error& failure) {
        if (failure.code().category() != storeCategory() ||
            failure.code().value() != static_cast<int>(StoreFault::unreachable)) {
            throw;
        }
        // A listener has time, and may be the last one to find out that there is another server.
        if (!link.tryToReturn()) {
            unheard = false;
            courier.missServer(link.whyAway());
        } else if (unheard.exchange(true)) {
            throw; // the server is there, and still tells no changes
        }
        return {{}, seq, false, false};
    }
}

} // namespace tessapi
