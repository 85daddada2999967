#include "tests/scenarios/Soak.h"

#include "platform/tessapi/InBandAccessor.h"
#include "tests/scenarios/ScenarioReader.h"

#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace velk::scenarios {

namespace {

constexpr std::size_t DEEDS_KEPT = 40;
constexpr std::uint32_t MOST_DEEDS_A_CYCLE = 16;
/// What a sanitizer on a busy machine may take to fill a store.
constexpr std::chrono::seconds PATIENCE{90};

std::string member(const std::string& name, const std::string& json) {
    return ", " + quoted(name) + ": " + json;
}

} // namespace

Soak::Soak(std::uint32_t seedOfRandom) :
    seed{seedOfRandom},
    random{seed},
    storeUrl{"sqlite:" + (folder / "store.db").string()},
    eye{storeUrl},
    simulator{folder / "sim.sock", [this] { return life.ending().has_value(); }},
    life{storeUrl} {
    start("");
    becomeQuiet();
}

Soak::~Soak() {
    simulator.close();
    life.destroy();
}

void Soak::cycle() {
    static const std::vector<Deed> deedsToDo{
        &Soak::fault,         &Soak::fault,       &Soak::fault,    &Soak::failingOperation,
        &Soak::clear,         &Soak::mains,       &Soak::load,     &Soak::battery,
        &Soak::panel,         &Soak::log,         &Soak::identity, &Soak::advance,
        &Soak::advance,       &Soak::pass,        &Soak::pass,     &Soak::writeSetting,
        &Soak::requestAction, &Soak::exitAndStart};
    const std::uint32_t count = 1 + below(MOST_DEEDS_A_CYCLE);
    for (std::uint32_t i = 0; i < count; ++i) {
        (this->*oneOf(deedsToDo))();
        readTransitions();
        if (life.ending().has_value()) {
            awaitEnd();
            start("");
        }
    }
    becomeQuiet();
    compare();
    ++sofar.cycles;
}

void Soak::note(const std::string& deed) {
    const std::chrono::duration<double> gone = std::chrono::steady_clock::now() - begun;
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << gone.count() << " s: " << deed;
    deeds.push_back(text.str());
    if (deeds.size() > DEEDS_KEPT) {
        deeds.pop_front();
    }
    ++sofar.deeds;
}

std::string Soak::command(const std::string& json) {
    note(json);
    if (life.ending().has_value()) {
        return "";
    }
    try {
        return simulator.ask(json);
    } catch (const SimulatorFailure&) {
        if (!life.ending().has_value()) {
            throw;
        }
        return ""; // the run has just ended, and the device with it
    }
}

std::string Soak::anyPath(const std::function<bool(const std::string&, const DevicePoint&)>& suits) {
    std::vector<std::string> paths;
    for (const auto& [path, point] : known) {
        if (suits(path, point)) {
            paths.push_back(path);
        }
    }
    return paths.empty() ? "" : oneOf(paths);
}

void Soak::fault() {
    static const std::vector<std::string> kinds{
        "linkLost",         "silent",       "slow",       "flapping",   "garbage",
        "wrongAlternative", "refuseWrites", "noIdentity", "bootloader", "notFound"};
    const std::string& kind = oneOf(kinds);
    std::string more;
    if (kind == "slow") {
        more = member("ms", std::to_string(1 + below(3)));
    } else if (kind == "flapping") {
        more = member("ms", std::to_string(100 + below(2000)));
    } else if (kind == "garbage") {
        more = member("path", quoted(anyPath([](const auto&, const DevicePoint& point) {
                          return point.type == "string";
                      })));
    } else if (kind == "wrongAlternative") {
        // A device that lies about its counts gets the tree that it has told of.
        more = member("path", quoted(anyPath([](const std::string& path, const DevicePoint& point) {
                          return point.json != "null" && path.find("Attribute.") == std::string::npos;
                      })));
    }
    ++sofar.faults;
    awaitStandstill();
    command(R"({"do":"fault","kind":)" + quoted(kind) + more + "}");
}

void Soak::failingOperation() {
    static const std::vector<std::string> operations{
        "read",       "read", "write",        "isReadable",     "isWritable",          "dataConfig",
        "disconnect", "stop", "buildWrapper", "wrapperFactory", "communicationStatus", "discover"};
    const std::string times = std::to_string(1 + below(20));
    ++sofar.faults;
    command(R"({"do":"fault","kind":"throw","operation":)" + quoted(oneOf(operations)) +
            member("times", times) + member("kindOfException", quoted(below(2) == 0 ? "standard" : "other")) +
            "}");
}

void Soak::clear() {
    awaitStandstill();
    command(R"({"do":"clear"})");
}

void Soak::mains() {
    static const std::vector<std::string> states{"lost", "normal", "sag", "swell"};
    command(R"({"do":"mains","state":)" + quoted(oneOf(states)) + "}");
}

void Soak::load() {
    command(R"({"do":"load","output":1,"percent":)" + std::to_string(below(120)) + "}");
}

void Soak::battery() {
    command(R"({"do":"battery","charge":)" + std::to_string(below(101)) + "}");
}

void Soak::panel() {
    const std::string path = anyPath([](const std::string& each, const DevicePoint& point) {
        return point.writable && point.type == "bool" && each.find("Action.") == std::string::npos;
    });
    command(R"({"do":"set","path":)" + quoted(path) + member("value", below(2) == 0 ? "true" : "false") +
            "}");
}

void Soak::log() {
    static const std::vector<std::string> what{R"("add":3)", R"("add":40)", R"("wrap":true)"};
    command(R"({"do":"log",)" + oneOf(what) + "}");
}

void Soak::identity() {
    // Counts change as they do in life: with a firmware that knows of it.
    const std::string next = std::to_string(++firmware);
    if (below(3) == 0) {
        command(R"({"do":"identity","uuid":"9f2c1c9e-6f0d-4a8e-9a7b-)" +
                std::to_string(100000000000 + firmware) + "\"}");
    } else if (below(2) == 0) {
        command(R"({"do":"identity","serialNumber":"S)" + next + R"(","firmwareVersion":"1.)" + next + "\"}");
    } else {
        command(R"({"do":"counts","Outlets":)" + std::to_string(below(9)) + "}");
        command(R"({"do":"identity","firmwareVersion":"2.)" + next + "\"}");
    }
}

void Soak::advance() {
    command(R"({"do":"advance","seconds":)" + std::to_string(1 + below(60)) + "}");
}

void Soak::pass() {
    note("pause");
    letPass();
}

/// What begins and ends while the model is built leaves no trace by which the library could know that the
/// tree lacks what the device could not tell then.
void Soak::awaitStandstill() const {
    life.pace.awaitStandstill();
}

void Soak::letPass() {
    if (life.pace.awaitStandstill() == Pace::Standing::Paused) {
        life.pace.pass();
    }
}

void Soak::writeSetting() {
    const std::string path = anyPath([](const std::string& each, const DevicePoint& point) {
        return point.writable && point.json != "null" && each.find("Setting.") != std::string::npos;
    });
    const StorePicture store = eye.look();
    const auto channel = store.channels.find(path);
    if (channel == store.channels.end() || !channel->second.initialized) {
        return;
    }
    const qz::CValue& old = channel->second.value;
    const std::uint32_t number = below(4);
    const qz::CValue next = channel->second.type == qz::datatype::boolean  ? qz::CValue{!old.as_bool()}
                            : channel->second.type == qz::datatype::uint32 ? qz::CValue{number}
                            : channel->second.type == qz::datatype::int32
                                ? qz::CValue{static_cast<std::int32_t>(number)}
                            : channel->second.type == qz::datatype::float32
                                ? qz::CValue{old.as_float() + static_cast<float>(number)}
                                : old;
    note("write " + path);
    writeStore(channel->second.id, next);
}

void Soak::writeStore(std::uint64_t channel, const qz::CValue& value) {
    try {
        eye.client().inbandAccessor().setChannelCValue(channel, value);
    } catch (const std::runtime_error&) {
        // The library may have removed the channel a moment ago; nothing else makes a write fail.
        if (eye.client().inbandAccessor().getChannelDataType(channel) != qz::datatype::unknown) {
            throw;
        }
    }
}

void Soak::requestAction() {
    const std::string path = anyPath([](const std::string& each, const DevicePoint& point) {
        return point.writable && each.find("Action.") != std::string::npos &&
               each.find("PrivateAction.") == std::string::npos;
    });
    const StorePicture store = eye.look();
    const auto channel = store.channels.find(path);
    if (channel == store.channels.end()) {
        return;
    }
    note("do " + path);
    const std::int32_t delay = static_cast<std::int32_t>(below(3)) - 1;
    writeStore(channel->second.id,
               channel->second.type == qz::datatype::boolean ? qz::CValue{true} : qz::CValue{delay});
}

void Soak::exitAndStart() {
    static const std::vector<std::string> faults{"",
                                                 R"({"kind": "notFound"})",
                                                 R"({"kind": "throw", "operation": "create", "times": 1})",
                                                 R"({"kind": "throw", "operation": "builder", "times": 1})",
                                                 R"({"kind": "throw", "operation": "start", "times": 1})",
                                                 R"({"kind": "throw", "operation": "discover", "times": 1})",
                                                 R"({"kind": "linkLost"})",
                                                 R"({"kind": "bootloader"})"};
    note("exit");
    awaitEnd();
    start(oneOf(faults));
}

void Soak::start(const std::string& faults) {
    note("start with " + (faults.empty() ? "no fault" : faults));
    simulator.close();
    const auto file = folder / "velk.json";
    std::ofstream{file}
        << R"({"maxThreads": 4, "maxRestTimeMs": 1, "maxCpuLoadPercent": 100, "protocolLibraries": [")"
        << VELK_SIMULATOR_PLUGIN << R"("], "simulator": {"device": "ups-3ph", "speed": 0, "seed": )" << seed
        << R"(, "control": "sim.sock", "timeoutMs": 5, "faults": [)" << faults << "]}}";
    state = "BEGIN";
    life.start(file);
    ++sofar.runs;
}

void Soak::awaitEnd() {
    await(
        [&] {
            life.pace.pass();
            readTransitions();
            if (!life.ending().has_value() && state != "STOP") {
                life.exit(); // one before the run has begun is none
            }
            return life.ending().has_value();
        },
        [&] { return "the run does not end; it is in " + state; });
    sofar.failures += life.ending()->kind == Life::End::Kind::Returned ? 0 : 1;
    readTransitions();
    simulator.close();
    life.destroy();
}

void Soak::readTransitions() {
    while (const auto transition = life.takeTransition()) {
        state = transition->substr(transition->rfind(" to ") + 4);
        sofar.losses += state == "COMMUNICATION_LOST" ? 1 : 0;
        sofar.builds += state == "BUILD" ? 1 : 0;
    }
    life.output.forget();
    life.errors.forget();
    life.forgetWrites();
}

void Soak::await(const std::function<bool()>& condition, const std::function<std::string()>& what) {
    const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error{what()};
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
}

void Soak::becomeQuiet() {
    clear();
    awaitMonitor();
    // Only a device that was away is asked again who it is.
    command(R"({"do":"fault","kind":"linkLost"})");
    const std::size_t losses = sofar.losses;
    await(
        [&] {
            letPass();
            readTransitions();
            return sofar.losses > losses || life.ending().has_value();
        },
        [] { return std::string{"a loss of the link is not noticed"}; });
    clear();
    awaitMonitor();
}

void Soak::awaitMonitor() {
    await(
        [&] {
            if (life.ending().has_value()) {
                awaitEnd();
                start("");
            }
            letPass();
            readTransitions();
            return life.pace.standing() == Pace::Standing::Paused && state == "MONITOR";
        },
        [&] { return "the lifecycle has come to " + state + " and not to MONITOR"; });
}

void Soak::compare() {
    std::vector<std::string> different;
    std::size_t compared = 0;
    await(
        [&] {
            known = readPoints(simulator.ask(R"({"do":"points"})"));
            different = differences(known, eye.look(), compared);
            return different.empty() && compared > 0;
        },
        [&] {
            std::string text = "the store differs from the device:";
            for (const std::string& each : different) {
                text += "\n  " + each;
            }
            return text;
        });
    sofar.compared += compared;
}

} // namespace velk::scenarios
