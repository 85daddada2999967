#include "tests/scenarios/StepReader.h"

#include "tests/scenarios/ScenarioReader.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace velk::scenarios {

namespace {

constexpr std::array<std::string_view, 11> STATES{"BEGIN",
                                                  "DISCOVER",
                                                  "ENUMERATE",
                                                  "BUILD",
                                                  "INITIALIZE",
                                                  "START",
                                                  "MONITOR",
                                                  "COMMUNICATION_LOST",
                                                  "WAIT_COMMUNICATION_RECOVERY",
                                                  "STOP",
                                                  "END"};

/// The attributes of a device that a scenario can name.
const std::map<std::string, std::uint32_t>& attributeNumbers() {
    static const std::map<std::string, std::uint32_t> numbers{
        {"productName", 2},      {"model", 5},           {"friendlyName", 6},  {"path", 7},
        {"serialNumber", 9},     {"vendor", 10},         {"physicalName", 11}, {"location", 12},
        {"hardwareVersion", 14}, {"firmwareVersion", 15}};
    return numbers;
}

} // namespace

Steps StepReader::read(const Node& list) const {
    Steps steps;
    for (const Node& each : in.list(list)) {
        readStep(each, steps);
    }
    return steps;
}

std::string StepReader::state(const Node& node) const {
    const std::string name = in.text(node);
    if (std::find(STATES.begin(), STATES.end(), name) == STATES.end()) {
        in.fail(node, "expected a state of the lifecycle, for instance \"MONITOR\"");
    }
    return name;
}

std::map<std::uint32_t, std::string> StepReader::attributes(const Node& node) const {
    std::map<std::uint32_t, std::string> byNumber;
    for (const Node& member : in.object(node)) {
        const auto number = attributeNumbers().find(member.name());
        if (number == attributeNumbers().end()) {
            in.fail(member, "expected an attribute of a device, for instance \"serialNumber\"");
        }
        byNumber[number->second] = in.text(member);
    }
    return byNumber;
}

void StepReader::readStep(const Node& node, Steps& steps) const {
    static constexpr std::array<std::string_view, 4> COMPANIONS{"say", "answer", "memory", "steps"};
    const Node* deed = nullptr;
    std::string say;
    for (const Node& each : in.object(node)) {
        if (each.name() == "say") {
            say = in.text(each);
        } else if (std::find(COMPANIONS.begin(), COMPANIONS.end(), each.name()) == COMPANIONS.end()) {
            if (deed != nullptr) {
                in.fail(each, "a step does one thing; this one does " + quoted(deed->name()) + " already");
            }
            deed = node.findMember(each.name());
        }
    }
    if (deed == nullptr && say.empty()) {
        in.fail(node, "expected something to do");
    }
    if (deed == nullptr) {
        return; // a headline
    }
    if (deed->name() == "expect") {
        readExpectations(*deed, say, steps);
    } else if (deed->name() == "write") {
        for (const Node& each : in.object(*deed)) {
            steps.push_back({in.place(each), say, WriteStore{each.name(), in.value(each)}});
        }
    } else {
        steps.push_back({in.place(node), say, readDeed(node, *deed)});
    }
}

Deed StepReader::readDeed(const Node& step, const Node& member) const {
    const std::string& name = member.name();
    if (name == "start") {
        return Start{in.jsonByName(member)};
    }
    if (name == "device") {
        return command(step, member);
    }
    if (name == "pauses") {
        return Pauses{in.number(member)};
    }
    if (name == "hold") {
        return Hold{state(member)};
    }
    if (name == "do") {
        const std::string what = in.text(member);
        if (what == "release") {
            return Release{};
        }
        if (what == "exit") {
            return Exit{};
        }
        if (what == "destroy") {
            return Destroy{};
        }
        if (what == "settle") {
            return Settle{};
        }
        in.fail(member, "expected \"exit\", \"destroy\", \"release\" or \"settle\"");
    }
    if (name == "leave") {
        return leftover(member);
    }
    if (name == "store") {
        static const std::map<std::string, MoveStore::Where> where{{"away", MoveStore::Where::Away},
                                                                   {"back", MoveStore::Where::Back},
                                                                   {"replaced", MoveStore::Where::Replaced}};
        const auto found = where.find(in.text(member));
        if (found == where.end()) {
            in.fail(member, "expected \"away\", \"back\" or \"replaced\"");
        }
        return MoveStore{found->second};
    }
    if (name == "file") {
        return putFile(member);
    }
    if (name == "churn") {
        return Churn{in.number(member)};
    }
    if (name == "remember") {
        return Remember{in.text(member)};
    }
    if (name == "repeat") {
        return repeat(step, member);
    }
    in.fail(member, "unknown step " + quoted(name) +
                        ", expected one of \"start\", \"device\", \"write\", \"pauses\", \"hold\", \"do\", "
                        "\"leave\", \"store\", \"file\", \"churn\", \"remember\", \"repeat\", \"expect\"");
}

Deed StepReader::command(const Node& step, const Node& member) const {
    const Node* const what = member.findMember("do");
    if (what == nullptr) {
        in.fail(member, "expected a command to the simulator, for instance {\"do\": \"clear\"}");
    }
    Command command{JsonReading::json(member), {}};
    if (const Node* const answer = step.findMember("answer")) {
        command.answer = in.jsonByName(*answer);
    }
    return command;
}

Deed StepReader::leftover(const Node& node) const {
    Leftover left;
    in.members(node, {
                         {"uuid", [&](const Node& member) { left.uuid = in.text(member); }},
                         {"parent", [&](const Node& member) { left.parent = in.number(member); }},
                         {"id", [&](const Node& member) { left.wantedId = in.number(member); }},
                         {"attributes", [&](const Node& member) { left.attributes = attributes(member); }},
                         {"channels",
                          [&](const Node& member) {
                              for (const Node& channel : in.object(member)) {
                                  left.channels[channel.name()] = in.value(channel);
                              }
                          }},
                     });
    return left;
}

Deed StepReader::putFile(const Node& node) const {
    PutFile file;
    in.members(node, {
                         {"name", [&](const Node& member) { file.name = in.text(member); }},
                         {"text", [&](const Node& member) { file.text = in.text(member); }},
                         {"json", [&](const Node& member) { file.text = JsonReading::json(member); }},
                         {"copyOf", [&](const Node& member) { file.source = in.text(member); }},
                     });
    if (file.name.empty() || file.name.find('/') != std::string::npos) {
        in.fail(node, "expected the \"name\" of a file in the scenario's folder");
    }
    return file;
}

Deed StepReader::repeat(const Node& step, const Node& member) const {
    const Node* const inner = step.findMember("steps");
    if (inner == nullptr) {
        in.fail(step, "expected \"steps\" beside \"repeat\"");
    }
    Repeat again{in.number(member), 0, 0, read(*inner)};
    if (const Node* const memory = step.findMember("memory")) {
        in.members(*memory,
                   {
                       {"after", [&](const Node& node) { again.warmUp = in.number(node); }},
                       {"growthPercent", [&](const Node& node) { again.growthPercent = in.measure(node); }},
                   });
    }
    return again;
}

void StepReader::readExpectations(const Node& node, const std::string& say, Steps& steps) const {
    const auto add = [&](const Node& at, Deed deed) {
        steps.push_back({in.place(at), say, std::move(deed)});
    };
    const auto forEach = [&](auto make) {
        return [this, make, &add](const Node& member) {
            for (const Node& each : in.object(member)) {
                add(each, make(each));
            }
        };
    };
    in.members(
        node,
        {
            {"transitions",
             [&](const Node& member) {
                 ExpectTransitions expected;
                 for (const Node& each : in.list(member)) {
                     expected.states.push_back(state(each));
                 }
                 add(member, expected);
             }},
            {"output", [&](const Node& member) { add(member, lines(ExpectLines::Stream::Output, member)); }},
            {"errors", [&](const Node& member) { add(member, lines(ExpectLines::Stream::Errors, member)); }},
            {"store", forEach([&](const Node& each) {
                 return ExpectValue{each.name(), in.wanted(each)};
             })},
            {"points", forEach([&](const Node& each) {
                 return ExpectPoint{each.name(), in.wanted(each)};
             })},
            {"devices", forEach([&](const Node& each) { return device(each); })},
            {"same", [&](const Node& member) { add(member, ExpectSame{in.text(member)}); }},
            {"alarms", forEach([&](const Node& each) {
                 return ExpectAlarms{each.name(), in.texts(each)};
             })},
            {"triggers", forEach([&](const Node& each) {
                 return ExpectTriggers{each.name(), in.texts(each)};
             })},
            {"end", [&](const Node& member) { add(member, end(member)); }},
            {"service", [&](const Node& member) { add(member, ExpectService{in.number(member)}); }},
            {"writes", [&](const Node& member) { add(member, writes(member)); }},
            {"mirror",
             [&](const Node& member) {
                 if (!in.flag(member)) {
                     in.fail(member, "expected true");
                 }
                 add(member, ExpectMirror{});
             }},
        });
}

ExpectDevice StepReader::device(const Node& node) const {
    ExpectDevice device;
    device.key = node.name();
    in.members(node, {
                         {"absent", [&](const Node& member) { device.absent = in.flag(member); }},
                         {"id", [&](const Node& member) { device.id = in.number(member); }},
                         {"parent", [&](const Node& member) { device.parent = in.number(member); }},
                         {"uuid", [&](const Node& member) { device.uuid = in.text(member); }},
                         {"attributes", [&](const Node& member) { device.attributes = attributes(member); }},
                     });
    return device;
}

ExpectLines StepReader::lines(ExpectLines::Stream stream, const Node& node) const {
    ExpectLines expected{stream, {}};
    for (const Node& each : in.list(node)) {
        if (each.getValueType() == ValueType::String) {
            expected.lines.push_back({each.text(), false});
            continue;
        }
        WantedLine line;
        in.members(each, {
                             {"line", [&](const Node& member) { line.text = in.text(member); }},
                             {"anyTimes", [&](const Node& member) { line.anyTimes = in.flag(member); }},
                         });
        expected.lines.push_back(line);
    }
    return expected;
}

ExpectEnd StepReader::end(const Node& node) const {
    ExpectEnd expected;
    in.members(node, {
                         {"returned", [&](const Node&) { expected.how = ExpectEnd::How::Returned; }},
                         {"failure",
                          [&](const Node& member) {
                              expected.how = ExpectEnd::How::Failed;
                              expected.text = in.text(member);
                          }},
                         {"other", [&](const Node&) { expected.how = ExpectEnd::How::FailedOddly; }},
                     });
    return expected;
}

ExpectWrites StepReader::writes(const Node& node) const {
    ExpectWrites expected;
    for (const Node& each : in.list(node)) {
        WantedWrite write;
        in.members(each, {
                             {"path", [&](const Node& member) { write.path = in.text(member); }},
                             {"asked", [&](const Node& member) { write.asked = in.text(member); }},
                             {"accepted", [&](const Node& member) { write.accepted = in.flag(member); }},
                             {"error", [&](const Node& member) { write.error = in.text(member); }},
                         });
        expected.writes.push_back(write);
    }
    return expected;
}

} // namespace velk::scenarios
