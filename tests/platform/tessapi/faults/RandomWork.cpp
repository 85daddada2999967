#include "tests/platform/tessapi/faults/RandomWork.h"

#include "platform/tessapi/LevelAlarm.h"

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <sstream>
#include <utility>

namespace tessapi::faults {

namespace {

using velk::common::Uuid;

constexpr std::uint64_t UNKNOWN = ~std::uint64_t{0};
const std::string SETTING{"PowerDistribution.Setting.PreferredSource"};
const std::array<std::string, 6> NAMES{"PowerDistribution.Measure.Voltage",
                                       "PowerDistribution.Measure.Current",
                                       "PowerDistribution.Status.Source",
                                       SETTING,
                                       "Test.Text",
                                       "Test.OtherText"};

void print(std::ostream& out, const qz::CAlarmTrigger& trigger) {
    out << ' ' << static_cast<std::uint32_t>(trigger.level) << '/' << int{trigger.type} << '/'
        << trigger.threshold1 << '/' << trigger.threshold2 << '/' << trigger.priority << '/' << trigger.code;
}

void print(std::ostream& out, const ChannelRecord& channel) {
    out << "  " << channel.name << ' ' << to_string(channel.type) << " = " << channel.value << '\n';
    for (const auto& [value, name] : channel.states.entries()) {
        out << "    state " << value << ' ' << name << '\n';
    }
    for (const auto& trigger : channel.alarmConfig.triggers) {
        out << "    alarm";
        print(out, trigger);
        out << '\n';
    }
    for (const auto& alarm : channel.activeAlarms) {
        out << "    active " << static_cast<std::uint32_t>(alarm.level) << '/' << alarm.priority << '/'
            << alarm.code << '\n';
    }
}

void printAttributes(std::ostream& out, const qz::CDevice& device) {
    for (std::size_t number = 0; number < device.attributes.size(); ++number) {
        if (!device.attributes.at(number).empty()) {
            out << ' ' << number << '=' << device.attributes.at(number);
        }
    }
    out << '\n';
}

} // namespace

class RandomWork::Dice {
public:
    Dice(std::uint32_t seed, unsigned int worker, std::uint32_t number) {
        std::seed_seq mixed{seed, static_cast<std::uint32_t>(worker), number};
        engine.seed(mixed);
    }
    /// 0 to `below` - 1.
    std::uint32_t operator()(std::uint32_t below) { return static_cast<std::uint32_t>(engine() % below); }

private:
    std::minstd_rand engine;
};

RandomWork::RandomWork(Engine& engine, std::uint32_t seed, unsigned int who) :
    store{engine}, start{seed}, worker{who} {}

std::string RandomWork::programOf(unsigned int who) {
    return "worker " + std::to_string(who);
}

Uuid RandomWork::uuidOf(const std::string& name) const {
    return Uuid{Uuid::VELK_NAMESPACE, programOf(worker) + name};
}

void RandomWork::perform(std::uint32_t number) {
    if (number == 1) {
        base = store.emplaceDevice(uuidOf(""), 1, 0);
        return;
    }
    base = store.deviceIdOf(uuidOf(""));
    Dice dice{start, worker, number};
    using Call = void (RandomWork::*)(Dice&);
    // The more often, the more often here.
    static constexpr std::array<Call, 23> CALLS{
        &RandomWork::makeDevice,     &RandomWork::makeDevice,   &RandomWork::takeSeat,
        &RandomWork::removeDevices,  &RandomWork::setAttribute, &RandomWork::setAttribute,
        &RandomWork::makeChannel,    &RandomWork::makeChannel,  &RandomWork::makeChannels,
        &RandomWork::setValue,       &RandomWork::setValue,     &RandomWork::setValue,
        &RandomWork::setValue,       &RandomWork::setGroup,     &RandomWork::setGroup,
        &RandomWork::setAlarms,      &RandomWork::setAlarms,    &RandomWork::setStates,
        &RandomWork::removeChannels, &RandomWork::applyMixed,   &RandomWork::applyMixed,
        &RandomWork::applyMixed};
    if (const auto call = CALLS.at(dice(CALLS.size())); call != nullptr) {
        (this->*call)(dice);
    } else {
        record(number);
    }
}

std::uint64_t RandomWork::someDevice(Dice& dice) {
    const auto found = store.deviceIdOf(uuidOf("/" + std::to_string(dice(6))));
    return found == UNKNOWN ? base : found;
}

std::uint64_t RandomWork::someChannel(Dice& dice) {
    const auto device = someDevice(dice);
    return store.findChannel(device, NAMES.at(dice(NAMES.size())));
}

void RandomWork::makeDevice(Dice& dice) {
    const auto name = "/" + std::to_string(dice(6));
    store.emplaceDevice(uuidOf(name), someDevice(dice), 0);
}

void RandomWork::takeSeat(Dice& dice) {
    store.emplaceDevice(uuidOf("/seat " + std::to_string(dice(5))), base, 100 + 10 * worker + dice(2));
}

void RandomWork::removeDevices(Dice& dice) {
    const auto kept = store.deviceIdOf(uuidOf("/" + std::to_string(dice(6))));
    store.removeSubDevices(base, {kept}, 1 + dice(3));
}

void RandomWork::removeChannels(Dice& dice) {
    const auto kept = someChannel(dice);
    store.removeChannels(someDevice(dice), {kept});
}

void RandomWork::setAttribute(Dice& dice) {
    const auto device = someDevice(dice);
    const auto number = dice(qz::CDevice::ATTRIBUTE_COUNT);
    store.setAttribute(device, number, "text " + std::to_string(dice(1000)) + std::string(dice(300), '.'));
}

void RandomWork::makeChannel(Dice& dice) {
    const auto device = someDevice(dice);
    store.emplaceChannel(device, NAMES.at(dice(NAMES.size())));
}

void RandomWork::makeChannels(Dice& dice) {
    const auto device = someDevice(dice);
    const auto first = NAMES.begin() + dice(NAMES.size());
    store.emplaceChannels(device, {first, NAMES.end()});
}

qz::CValue RandomWork::someValue(std::uint64_t channel, Dice& dice) {
    switch (store.typeOf(channel)) {
    case qz::datatype::float32:
        return qz::CValue{static_cast<float>(dice(100))};
    case qz::datatype::uint32:
        return qz::CValue{dice(100)};
    default:
        return qz::CValue{std::to_string(dice(100)) + std::string(dice(600), '-')};
    }
}

void RandomWork::setValue(Dice& dice) {
    if (const auto channel = someChannel(dice); channel != UNKNOWN) {
        store.setValue(channel, someValue(channel, dice));
    }
}

std::vector<Engine::ChannelValue> RandomWork::someValues(Dice& dice) {
    std::vector<Engine::ChannelValue> values;
    for (int i = 0; i < 8; ++i) {
        if (const auto channel = someChannel(dice); channel != UNKNOWN) {
            values.emplace_back(channel, someValue(channel, dice));
        }
    }
    return values;
}

void RandomWork::setGroup(Dice& dice) {
    store.setValues(someValues(dice));
}

qz::tess::CSingleAlarmConfig RandomWork::someAlarms(Dice& dice) {
    qz::tess::CSingleAlarmConfig config;
    const auto count = dice(4);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto level = static_cast<LevelAlarm>(4 + dice(4));
        const auto type = static_cast<std::int8_t>(1 + dice(4));
        const float low = static_cast<float>(dice(100));
        config.triggers.push_back({level,
                                   type,
                                   qz::CValue{low},
                                   qz::CValue{low + 20},
                                   static_cast<std::int32_t>(i),
                                   "A" + std::to_string(dice(9)),
                                   {},
                                   0});
    }
    return config;
}

void RandomWork::setAlarms(Dice& dice) {
    const auto channel = someChannel(dice);
    store.setAlarmConfig(channel, someAlarms(dice));
}

qz::CMultistateMap RandomWork::someStates(Dice& dice) {
    qz::CMultistateMap states;
    const auto count = dice(5);
    for (std::uint32_t i = 0; i < count; ++i) {
        states.add(qz::CValue{i}, "state " + std::to_string(dice(50)));
    }
    return states;
}

void RandomWork::setStates(Dice& dice) {
    const auto states = someStates(dice);
    store.setStates(someChannel(dice), states);
}

void RandomWork::applyMixed(Dice& dice) {
    StoreWrites writes;
    for (auto count = dice(3); count > 0; --count) {
        const auto device = someDevice(dice);
        const auto attribute = static_cast<DeviceAttribute>(dice(qz::CDevice::ATTRIBUTE_COUNT));
        writes.attributes.push_back({device, attribute, "text " + std::to_string(dice(1000))});
    }
    for (auto count = dice(3); count > 0; --count) {
        const auto channel = someChannel(dice);
        writes.alarmConfigs.emplace_back(channel, someAlarms(dice));
    }
    for (auto count = dice(3); count > 0; --count) {
        const auto channel = someChannel(dice);
        writes.states.emplace_back(channel, someStates(dice));
    }
    writes.values = someValues(dice);
    store.apply(writes);
}

void RandomWork::record(std::uint32_t number) {
    WriteRecord written;
    written.timeMs = 1;
    written.program = programOf(worker);
    written.asked = std::to_string(number);
    store.recordWrite(written);
}

std::string RandomWork::description() {
    const auto content = store.snapshot();
    std::map<std::uint64_t, Uuid> known; // of this worker
    std::map<std::string, std::string> devices;
    // A parent may come after its child, which has taken a smaller seat.
    for (std::size_t before = known.size() + 1; before != known.size();) {
        before = known.size();
        for (const auto& device : content.devices) {
            if (device.uuid == uuidOf("") || known.count(device.parentId) != 0) {
                known[device.id] = device.uuid;
            }
        }
    }
    for (const auto& device : content.devices) {
        if (known.count(device.id) != 0) {
            std::ostringstream out;
            const auto parent = known.find(device.parentId);
            out << device.uuid.toString() << " in "
                << (parent == known.end() ? "root" : parent->second.toString());
            printAttributes(out, device);
            devices[device.uuid.toString()] = out.str();
        }
    }
    std::map<std::string, std::string> channels;
    for (const auto& channel : content.channels) {
        if (const auto owner = known.find(channel.deviceId); owner != known.end()) {
            std::ostringstream out;
            print(out, channel);
            channels[owner->second.toString() + channel.name] = out.str();
        }
    }
    std::string all;
    for (const auto& [uuid, text] : devices) {
        all += text;
    }
    for (const auto& [key, text] : channels) {
        all += key.substr(0, 36) + text;
    }
    const auto records = store.writeRecords(0, ~std::size_t{0});
    for (auto written = records.rbegin(); written != records.rend(); ++written) {
        if (written->program == programOf(worker)) {
            return all + "recorded " + written->asked + "\n";
        }
    }
    return all;
}

std::string describe(const StoreImage& image) {
    std::ostringstream out;
    out << "given " << image.lastDevice << ' ' << image.lastChannel << '\n';
    for (const auto& device : image.content.devices) {
        out << device.id << ' ' << device.uuid.toString() << " in " << device.parentId;
        printAttributes(out, device);
    }
    for (const auto& channel : image.content.channels) {
        out << channel.id << " of " << channel.deviceId << ' ' << channel.writtenMs << ' '
            << channel.changedMs;
        print(out, channel);
    }
    for (const auto& event : image.alarmEvents) {
        out << "event " << event.number << ' ' << event.timeMs << ' ' << event.raised << ' ' << event.channel
            << ' ' << event.code << ' ' << event.value << '\n';
    }
    for (const auto& written : image.writeRecords) {
        out << "record " << written.number << ' ' << written.program << ' ' << written.asked << '\n';
    }
    return out.str();
}

bool isMeasured(const ChannelRecord& channel) {
    return channel.name != SETTING;
}

std::string describeSettings(const StoreImage& image) {
    auto settings = image;
    for (auto& channel : settings.content.channels) {
        if (isMeasured(channel)) {
            channel.value = {};
            channel.writtenMs = channel.changedMs = 0;
        }
    }
    return describe(settings);
}

} // namespace tessapi::faults
