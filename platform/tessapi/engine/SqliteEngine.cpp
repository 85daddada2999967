#include "platform/tessapi/engine/SqliteEngine.h"

#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/engine/DatabaseHealth.h"
#include "platform/tessapi/engine/Generation.h"
#include "platform/tessapi/engine/Schema.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/Transaction.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;

/// Changes that a listener takes at a time: the store is locked for as long as it takes to read them.
constexpr std::int64_t NEWS_AT_A_TIME = 256;

} // namespace

SqliteEngine::SqliteEngine(const StoreUrl& url, std::unique_ptr<SharedPage> words, const Options& options) :
    store{url.text()},
    page{std::move(words)},
    writers{std::make_unique<InterprocessLock>(*page, store, options.longestWait)},
    reads{*writers},
    bell{*page},
    ring{*page, options.changesKept},
    catalogue{url.inMemory() ? Catalogue::builtin() : Catalogue::forStore(url.place())} {}

SqliteEngine::~SqliteEngine() = default;

void SqliteEngine::checkStillThere(Database& database) {
    try {
        database.checkStillThere();
    } catch (const boost::system::system_error&) {
        known.forget();
        throw;
    }
}

template <class Work, class Follow>
std::vector<Change> SqliteEngine::commit(Work& work, Follow& follow) {
    InterprocessHold hold{*writers};
    checkStillThere(writer->database);
    Transaction transaction{writer->database, Transaction::Kind::write};
    writer->model.cache.begin(writer->database.version());
    writer->model.changes.forgetFresh();
    work(writer->model);
    std::uint64_t before = 0;
    std::uint64_t after = 0;
    {
        const Generation::Change change{page->words().generation};
        transaction.commit();
        before = change.before;
        after = change.after();
    }
    auto changes = writer->model.changes.takeFresh();
    if (changes.empty()) {
        ring.pass(before, after);
    } else {
        ring.publish(changes, after);
    }
    writer->model.cache.commit(writer->database.version());
    follow(before, after);
    return changes;
}

void SqliteEngine::tell(std::span<const Change> changes) {
    if (changes.empty()) {
        bell.count();
    } else if (passOver(changes)) {
        bell.signalOthers();
    } else {
        bell.signal();
    }
}

template <class Work, class Follow>
void SqliteEngine::write(Work work, Follow follow) {
    checkNotForked();
    std::vector<Change> changes;
    {
        MutexLock lock{writer->mutex};
        changes = commit(work, follow);
        if (keeper) {
            keeper->noteCommit(writer->database.logFrames());
        }
    }
    tell(changes);
}

template <class Work>
void SqliteEngine::write(Work work) {
    write(std::move(work), [](std::uint64_t, std::uint64_t) {});
}

template <class Work>
void SqliteEngine::writeAside(Work work) {
    write(std::move(work),
          [this](std::uint64_t before, std::uint64_t after) { known.follow(before, after, {}); });
}

template <class Work>
auto SqliteEngine::ask(Work work) {
    checkNotForked();
    MutexLock lock{reader->mutex};
    checkStillThere(reader->database);
    return reads.run([&]() VELK_NO_THREAD_SAFETY_ANALYSIS { return work(reader->model); });
}

template <class Work>
auto SqliteEngine::read(Work work) {
    checkNotForked();
    MutexLock lock{reader->mutex};
    checkStillThere(reader->database);
    return reads.run([&]() VELK_NO_THREAD_SAFETY_ANALYSIS { // the lock is held here
        Transaction transaction{reader->database, Transaction::Kind::read};
        return work(reader->model);
    });
}

void SqliteEngine::checkSound() {
    MutexLock lock{reader->mutex};
    reads.run([&]() VELK_NO_THREAD_SAFETY_ANALYSIS {
        Schema::checkSound(reader->database);
        return true;
    });
}

void SqliteEngine::retypeChannels() {
    if (ask([](Model& model) { return model.hasOutdatedTypes(); })) {
        write([](Model& model) { model.retypeChannels(); });
    }
}

std::uint64_t SqliteEngine::deviceIdOf(const velk::common::Uuid& uuid) {
    checkNotForked();
    const auto device = known.deviceOf(generation(), uuid);
    return device ? *device : learnDevice(uuid);
}

std::uint64_t SqliteEngine::learnDevice(const velk::common::Uuid& uuid) {
    const auto before = generation();
    const auto device = ask([&](Model& model) { return model.devices.find(uuid); });
    if (device != ITessAccessor::UNKNOWN_ID) {
        known.keepDevice(before, generation(), uuid, device);
    }
    return device;
}

velk::common::Uuid SqliteEngine::uuidOf(std::uint64_t device) {
    return ask([&](Model& model) { return model.devices.uuidOf(device); });
}

std::uint64_t SqliteEngine::emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parent,
                                          std::uint64_t wanted) {
    // A program that starts makes all of its devices again.
    if (const auto there = learnDevice(uuid); there != ITessAccessor::UNKNOWN_ID) {
        return there;
    }
    std::uint64_t device = 0;
    bool replacesOther = false;
    write(
        [&](Model& model) {
            replacesOther = model.devices.contains(wanted);
            device = model.emplaceDevice(uuid, parent, wanted);
        },
        [&](std::uint64_t before, std::uint64_t after) {
            if (!replacesOther) {
                known.follow(before, after, {});
            }
            if (device != ITessAccessor::UNKNOWN_ID) {
                known.keepDevice(after, after, uuid, device);
            }
        });
    return device;
}

void SqliteEngine::removeSubDevices(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                                    unsigned int limit) {
    write([&](Model& model) { model.removeSubDevices(device, keep, limit); });
}

qz::CDevice SqliteEngine::device(std::uint64_t device) {
    return read([&](Model& model) { return model.devices.get(device); });
}

std::string SqliteEngine::attribute(std::uint64_t device, std::uint32_t number) {
    return ask([&](Model& model) { return model.devices.attribute(device, number); });
}

void SqliteEngine::setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text) {
    writeAside([&](Model& model) { model.setAttribute(device, number, text); });
}

std::uint64_t SqliteEngine::findChannel(std::uint64_t device, const std::string& name) {
    return ask([&](Model& model) { return model.channels.find(device, name); });
}

std::uint64_t SqliteEngine::emplaceChannel(std::uint64_t device, const std::string& name) {
    return emplaceChannels(device, {name}).front();
}

std::vector<std::uint64_t> SqliteEngine::emplaceChannels(std::uint64_t device,
                                                         const std::vector<std::string>& names) {
    auto channels = learnAll(device, names);
    const auto isMissing = [](const auto& channel) { return channel.first == ITessAccessor::UNKNOWN_ID; };
    if (std::any_of(channels.begin(), channels.end(), isMissing)) {
        channels = makeAll(device, names);
    }
    std::vector<std::uint64_t> ids;
    ids.reserve(channels.size());
    for (const auto& [id, _] : channels) {
        ids.push_back(id);
    }
    return ids;
}

SqliteEngine::Channels SqliteEngine::learnAll(std::uint64_t device, const std::vector<std::string>& names) {
    const auto before = generation();
    auto channels = read([&](Model& model) { return model.channels.findAll(device, names); });
    keep(before, generation(), channels);
    return channels;
}

SqliteEngine::Channels SqliteEngine::makeAll(std::uint64_t device, const std::vector<std::string>& names) {
    Channels channels;
    write([&](Model& model) { channels = model.emplaceChannels(device, names); },
          [&](std::uint64_t before, std::uint64_t after) {
              known.follow(before, after, {});
              keep(after, after, channels);
          });
    return channels;
}

void SqliteEngine::keep(std::uint64_t before, std::uint64_t after, const Channels& channels) {
    for (const auto& [id, typed] : channels) {
        if (typed.type != qz::datatype::unknown) {
            known.keep(before, after, id, typed);
        }
    }
}

void SqliteEngine::removeChannels(std::uint64_t device, const std::vector<std::uint64_t>& keep) {
    write([&](Model& model) { model.removeChannels(device, keep); });
}

TypedValue SqliteEngine::learn(std::uint64_t channel) {
    const auto before = generation();
    auto learnt = ask([&](Model& model) { return model.channels.typeAndValueOf(channel); });
    if (learnt.type != qz::datatype::unknown) {
        known.keep(before, generation(), channel, learnt);
    }
    return learnt;
}

qz::datatype SqliteEngine::typeOf(std::uint64_t channel) {
    checkNotForked();
    const auto type = known.typeOf(generation(), channel);
    return type ? *type : learn(channel).type;
}

qz::CValue SqliteEngine::valueOf(std::uint64_t channel) {
    checkNotForked();
    auto value = known.valueOf(generation(), channel);
    return value ? std::move(*value) : learn(channel).value;
}

void SqliteEngine::setValue(std::uint64_t channel, const qz::CValue& value) {
    const ChannelValue changed{channel, value};
    setValues({&changed, 1});
}

void SqliteEngine::setValues(const std::vector<ChannelValue>& values) {
    setValues(std::span{values});
}

void SqliteEngine::setValues(std::span<const ChannelValue> values) {
    write(
        [&](Model& model) {
            for (const auto& [channel, value] : values) {
                model.setValue(channel, value);
            }
        },
        [&](std::uint64_t before, std::uint64_t after) { known.follow(before, after, values); });
}

void SqliteEngine::setAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) {
    // A program that starts configures all of its channels again.
    if (!ask([&](Model& model) { return model.alarms.holds(channel, config); })) {
        writeAside([&](Model& model) { model.setAlarmConfig(channel, config); });
    }
}

void SqliteEngine::setStates(std::uint64_t channel, const qz::CMultistateMap& states) {
    if (!ask([&](Model& model) { return model.channels.statesOf(channel) == states; })) {
        writeAside([&](Model& model) { model.setStates(channel, states); });
    }
}

void SqliteEngine::apply(const StoreWrites& writes) {
    if (!writes.empty()) {
        write([&](Model& model) { model.apply(writes); },
              [&](std::uint64_t before, std::uint64_t after) { known.follow(before, after, writes.values); });
    }
}

std::optional<ActiveAlarm> SqliteEngine::mostCriticalOf(std::uint64_t device) {
    return ask([&](Model& model) { return model.alarms.mostCriticalOf(device); });
}

std::vector<AlarmEvent> SqliteEngine::alarmEvents(std::int64_t sinceMs, std::size_t limit) {
    return ask([&](Model& model) { return model.events.since(sinceMs, limit); });
}

std::vector<WriteRecord> SqliteEngine::writeRecords(std::int64_t sinceMs, std::size_t limit) {
    return ask([&](Model& model) { return model.records.since(sinceMs, limit); });
}

void SqliteEngine::recordWrite(const WriteRecord& record) {
    auto numbered = record;
    numbered.number = 0; // the store gives it
    writeAside([&](Model& model) { model.records.append(numbered); });
}

StoreImage SqliteEngine::image() {
    return read([](Model& model) { return model.image(); });
}

void SqliteEngine::fill(const StoreImage& image) {
    write([&](Model& model) { model.fill(image); });
}

StoreHealth SqliteEngine::health() {
    auto health = Engine::health();
    health.schemaOfEngine = Schema::VERSION;
    read([&](Model&) VELK_NO_THREAD_SAFETY_ANALYSIS { // `read` holds the reader's lock
        auto& database = reader->database;
        health.schemaVersion = DatabaseHealth::schemaVersion(database);
        if (!file.empty()) {
            health.file = DatabaseHealth::file(database, file);
        }
        if (!copyFile.empty()) {
            health.copy = DatabaseHealth::copy(database, copyFile);
            health.copy->valuesEverySec = valuesEvery.count();
        }
        return true;
    });
    return health;
}

StoreSnapshot SqliteEngine::snapshot() {
    return read([](Model& model) { return model.snapshot(); });
}

Engine::Start SqliteEngine::startOf(const std::vector<std::uint64_t>& channels) {
    if (auto start = knownStart(channels)) {
        return std::move(*start);
    }
    return read([&](Model& model) {
        Start start;
        start.seq = model.changes.head();
        for (const auto channel : channels) {
            start.values.emplace(channel, model.channels.valueOf(channel));
        }
        return start;
    });
}

std::optional<Engine::Start> SqliteEngine::knownStart(const std::vector<std::uint64_t>& channels) {
    checkNotForked();
    {
        MutexLock lock{reader->mutex};
        checkStillThere(reader->database);
    }
    const auto now = generation();
    auto values = known.valuesOf(now, channels);
    const auto newest = values ? ring.newestIn(now) : std::nullopt;
    return newest ? std::optional{Start{*newest, std::move(*values)}} : std::nullopt;
}

Engine::News SqliteEngine::newsAfter(std::int64_t seq) {
    checkNotForked();
    const auto before = generation();
    auto found = ring.after(seq, NEWS_AT_A_TIME);
    const bool nothing = found && found->changes.empty();
    auto news = !found || (nothing && ring.isLookDue(seq)) ? newsFromLog(seq)
                                                           : newsFromRing(std::move(*found), before);
    if (keeper && !news.changes.empty()) {
        // Their writer may have been killed before it has synced them.
        keeper->noteCommit(0);
    }
    return news;
}

Engine::News SqliteEngine::newsFromRing(NewsRing::Found found, std::uint64_t before) {
    if (!found.more && found.generation == before && generation() == before) {
        // Of the newest commit, whose changes are all here, nothing was overwritten.
        known.keep(before, found.newestCommit());
    }
    return {std::move(found.changes), found.upTo, false, found.more};
}

Engine::News SqliteEngine::newsFromLog(std::int64_t seq) {
    auto news = read([seq](Model& model) { return model.changes.newsAfter(seq, NEWS_AT_A_TIME); });
    if (!news.more) {
        ring.noteLook(news.upTo);
    }
    return news;
}

} // namespace tessapi
