#include "platform/common/lwjson/Deserializer.h"
#include "platform/tessapi/DeviceAttribute.h"
#include "tests/scenarios/Runner.h"

#include <algorithm>
#include <sstream>
#include <thread>

// What a step expects; the other steps are in Runner.cpp.

namespace velk::scenarios {

using velk::common::lwjson::Deserializer;

namespace {

constexpr std::string_view ANYTHING{"…"};

template <typename T>
std::string printed(const T& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

/// "…" in the pattern stands for any text, also none.
bool isLike(std::string_view line, std::string_view pattern) {
    const auto gap = pattern.find(ANYTHING);
    if (gap == std::string_view::npos) {
        return line == pattern;
    }
    if (line.substr(0, gap) != pattern.substr(0, gap)) {
        return false;
    }
    const std::string_view rest = pattern.substr(gap + ANYTHING.size());
    for (std::size_t from = gap; from <= line.size(); ++from) {
        if (isLike(line.substr(from), rest)) {
            return true;
        }
    }
    return false;
}

std::string described(const Wanted& wanted) {
    if (wanted.absent) {
        return "absent";
    }
    if (wanted.anyOf) {
        return "any " + qz::to_string(*wanted.anyOf);
    }
    return wanted.value ? printed(*wanted.value) + " (" + qz::to_string(*wanted.value->type()) + ")"
                        : "no value";
}

std::string described(const tessapi::ChannelRecord* channel) {
    if (channel == nullptr) {
        return "absent";
    }
    return channel->initialized ? printed(channel->value) + " (" + qz::to_string(channel->type) + ")"
                                : "no value";
}

bool isAsWanted(const tessapi::ChannelRecord* channel, const Wanted& wanted) {
    if (channel == nullptr || wanted.absent) {
        return channel == nullptr && wanted.absent;
    }
    if (wanted.anyOf) {
        return channel->initialized && channel->type == *wanted.anyOf;
    }
    return wanted.value ? channel->initialized && channel->value == *wanted.value : !channel->initialized;
}

const tessapi::ChannelRecord* find(const StorePicture& store, const std::string& path) {
    const auto found = store.channels.find(path);
    return found == store.channels.end() ? nullptr : &found->second;
}

std::string levelText(tessapi::LevelAlarm level) {
    switch (level) {
    case tessapi::LevelAlarm::good:
        return "good";
    case tessapi::LevelAlarm::info:
        return "info";
    case tessapi::LevelAlarm::warning:
        return "warning";
    case tessapi::LevelAlarm::critical:
        return "critical";
    case tessapi::LevelAlarm::none:
        break;
    }
    return "none";
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : ", ") + text;
    }
    return all.empty() ? "none" : all;
}

template <typename Alarms>
std::vector<std::string> alarmTexts(const Alarms& alarms) {
    std::vector<std::string> texts;
    for (const auto& alarm : alarms) {
        texts.push_back(alarm.code + ":" + levelText(alarm.level));
    }
    return texts;
}

} // namespace

void Runner::expectNothingElse() {
    for (const auto stream : {ExpectLines::Stream::Output, ExpectLines::Stream::Errors}) {
        if (const std::string line = nextLine(stream); !line.empty()) {
            fail(std::string{"nothing more expected on the standard "} +
                 (stream == ExpectLines::Stream::Output ? "output" : "error") + ", but came: " + line);
        }
    }
    if (const std::string more = life.pendingTransitions(); !more.empty()) {
        fail("no further transitions expected, but came: " + more);
    }
}

std::string Runner::awaitTransition() {
    const auto deadline = std::chrono::steady_clock::now() + Pace::PATIENCE;
    while (std::chrono::steady_clock::now() < deadline) {
        const Pace::Standing standing = life.pace.awaitStandstill();
        if (auto transition = life.takeTransition()) {
            return *transition;
        }
        if (standing == Pace::Standing::Held || standing == Pace::Standing::Ended) {
            return "";
        }
        life.pace.pass();
        // What the lifecycle waits for is on its way in other threads.
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
    return "";
}

void Runner::perform(const ExpectTransitions& expected) {
    if (expected.states.empty()) {
        life.pace.awaitStandstill();
        if (const std::string more = life.pendingTransitions(); !more.empty()) {
            fail("no transition expected, but came: " + more);
        }
    }
    for (const std::string& next : expected.states) {
        const std::string wanted = state + " to " + next;
        const std::string came = awaitTransition();
        if (came != wanted) {
            fail("expected the transition from " + wanted + ", " +
                 (came.empty() ? "but none came" : "but came: " + came));
        }
        state = next;
    }
}

std::string Runner::nextLine(ExpectLines::Stream stream) {
    LineLog& log = stream == ExpectLines::Stream::Output ? life.output : life.errors;
    const std::vector<std::string>& ignored = tolerated[stream];
    while (auto line = log.take()) {
        const bool isIgnored = std::any_of(ignored.begin(), ignored.end(), [&](const std::string& pattern) {
            return isLike(*line, pattern);
        });
        if (!isIgnored) {
            return *line;
        }
    }
    return "";
}

void Runner::perform(const ExpectLines& expected) {
    for (const WantedLine& line : expected.lines) {
        expectLine(expected.stream, line);
    }
}

void Runner::expectLine(ExpectLines::Stream stream, const WantedLine& wanted) {
    std::string line;
    await([&] { return !(line = nextLine(stream)).empty(); },
          [&] { return "this line did not come: " + wanted.text; });
    if (!isLike(line, wanted.text)) {
        fail("expected the line: " + wanted.text + "\n  but came: " + line);
    }
    if (wanted.anyTimes) {
        tolerated[stream].push_back(wanted.text);
    }
}

void Runner::perform(const ExpectValue& expected) {
    StorePicture store;
    await(
        [&] {
            store = eye.look();
            return isAsWanted(find(store, expected.path), expected.wanted);
        },
        [&] {
            return expected.path + " is " + described(find(store, expected.path)) +
                   " in the store, expected " + described(expected.wanted);
        });
}

void Runner::perform(const ExpectPoint& expected) {
    DevicePoint point;
    const auto holds = [&] {
        const std::string answer = simulator.ask(R"({"do":"get","path":")" + expected.path + "\"}");
        const Deserializer json{answer};
        const auto* const value = json.findMember("value");
        const auto* const type = json.findMember("type");
        if (value == nullptr || type == nullptr) {
            point = {"", answer, false};
            return expected.wanted.absent;
        }
        point = {type->text(), value->text(), false};
        if (expected.wanted.value) {
            return isSame(point, *expected.wanted.value);
        }
        return !expected.wanted.absent && (point.json == "null") != expected.wanted.anyOf.has_value();
    };
    await(holds, [&] {
        return expected.path + " is " + point.json + " in the device, expected " + described(expected.wanted);
    });
}

void Runner::perform(const ExpectDevice& expected) {
    const bool byNumber = std::all_of(expected.key.begin(), expected.key.end(),
                                      [](unsigned char digit) { return std::isdigit(digit) != 0; });
    std::string why;
    const auto holds = [&] {
        const StorePicture store = eye.look();
        const auto found = std::find_if(store.devices.begin(), store.devices.end(), [&](const auto& each) {
            return byNumber && !expected.key.empty() ? std::to_string(each.second.id) == expected.key
                                                     : each.first == expected.key;
        });
        if (found == store.devices.end() || expected.absent) {
            why = found == store.devices.end() ? "is not in the store" : "is in the store";
            return (found == store.devices.end()) == expected.absent;
        }
        const qz::CDevice& device = found->second;
        why = "has the identifier " + std::to_string(device.id) + ", the parent " +
              std::to_string(device.parentId) + ", the Uuid " + device.uuid.toString();
        bool same = device.id == expected.id.value_or(device.id) &&
                    device.parentId == expected.parent.value_or(device.parentId) &&
                    device.uuid.toString() == expected.uuid.value_or(device.uuid.toString());
        for (const auto& [number, text] : expected.attributes) {
            same = same && device.attributes.at(number) == text;
            why += ", the attribute " + std::to_string(number) + " \"" + device.attributes.at(number) + "\"";
        }
        return same;
    };
    await(holds, [&] { return "the device \"" + expected.key + "\" " + why; });
}

std::map<std::string, std::uint64_t> Runner::identifiers(const StorePicture& store) {
    std::map<std::string, std::uint64_t> all;
    for (const auto& [place, device] : store.devices) {
        all["device \"" + place + "\""] = device.id;
    }
    for (const auto& [path, channel] : store.channels) {
        all[path] = channel.id;
    }
    return all;
}

void Runner::perform(const ExpectSame& expected) {
    const auto before = remembered.find(expected.name);
    if (before == remembered.end()) {
        fail("nothing was remembered as \"" + expected.name + "\"");
    }
    const auto now = identifiers(eye.look());
    std::string changed;
    for (const auto& [what, id] : before->second) {
        const auto same = now.find(what);
        changed += same == now.end()    ? " " + what + " is gone;"
                   : same->second != id ? " " + what + " was " + std::to_string(id) + " and is " +
                                              std::to_string(same->second) + ";"
                                        : "";
    }
    for (const auto& [what, id] : now) {
        changed += before->second.count(what) == 0 ? " " + what + " is new;" : "";
    }
    if (!changed.empty()) {
        fail("the identifiers have changed:" + changed);
    }
}

void Runner::perform(const ExpectAlarms& expected) {
    std::vector<std::string> active;
    await(
        [&] {
            const StorePicture store = eye.look();
            const tessapi::ChannelRecord* const channel = find(store, expected.path);
            active = channel == nullptr ? std::vector<std::string>{"no such channel"}
                                        : alarmTexts(channel->activeAlarms);
            return active == expected.alarms;
        },
        [&] {
            return expected.path + " has the alarms " + joined(active) + ", expected " +
                   joined(expected.alarms);
        });
}

void Runner::perform(const ExpectTriggers& expected) {
    std::vector<std::string> triggers;
    await(
        [&] {
            const StorePicture store = eye.look();
            const tessapi::ChannelRecord* const channel = find(store, expected.path);
            triggers = channel == nullptr ? std::vector<std::string>{"no such channel"}
                                          : alarmTexts(channel->alarmConfig.triggers);
            return triggers == expected.triggers;
        },
        [&] {
            return expected.path + " has the triggers " + joined(triggers) + ", expected " +
                   joined(expected.triggers);
        });
}

void Runner::perform(const ExpectEnd& expected) {
    // A machine that pauses on its way, as in STOP, is helped along.
    await(
        [&] {
            life.pace.pass();
            return life.ending().has_value();
        },
        [] { return "the run has not ended"; });
    const Life::End end = *life.ending();
    const bool sameKind = static_cast<int>(end.kind) == static_cast<int>(expected.how);
    if (!sameKind || !isLike(end.text, expected.text)) {
        fail("the run has ended with " + (end.kind == Life::End::Kind::Returned ? std::string{"no failure"}
                                          : end.kind == Life::End::Kind::FailedOddly
                                              ? std::string{"an exception of no standard kind"}
                                              : "the failure: " + end.text));
    }
}

void Runner::perform(const ExpectService& expected) {
    await([&] { return life.operatingStatus() == expected.state; },
          [&] {
              return "the service state is " + std::to_string(life.operatingStatus()) + ", expected " +
                     std::to_string(expected.state);
          });
}

void Runner::perform(const ExpectWrites& expected) {
    for (const WantedWrite& wanted : expected.writes) {
        std::optional<velk::powerdistribution::DeviceWrite> write;
        await([&] { return (write = life.takeWrite()).has_value(); },
              [&] { return "the device was not written: " + wanted.path; });
        const std::string path =
            write->device.empty() ? write->channel : write->device + "." + write->channel;
        if (path != wanted.path || printed(write->asked) != wanted.asked ||
            write->accepted != wanted.accepted || !isLike(write->error, wanted.error)) {
            fail("the device was written otherwise: " + path + " = " + printed(write->asked) +
                 (write->accepted ? ", accepted" : ", refused") +
                 (write->error.empty() ? "" : ", error: " + write->error));
        }
    }
    if (const auto more = life.takeWrite()) {
        fail("the device was written once more: " + more->channel + " = " + printed(more->asked));
    }
}

void Runner::perform(const ExpectMirror&) {
    std::vector<std::string> different;
    std::size_t compared = 0;
    await(
        [&] {
            different = differences(readPoints(simulator.ask(R"({"do":"points"})")), eye.look(), compared);
            return different.empty() && compared > 0;
        },
        [&] {
            return "the store differs from the device in " + std::to_string(different.size()) + " of " +
                   std::to_string(compared) + " data points: " + joined(different);
        });
}

} // namespace velk::scenarios
