#include "plugins/simulator/world/Simulation.h"

#include "plugins/simulator/world/FileSearch.h"
#include "plugins/simulator/world/JsonText.h"
#include "plugins/simulator/world/Panel.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <stdexcept>
#include <utility>

namespace velk::simulator {

using velk::common::Clock;
using velk::common::MutexLock;
using namespace std::chrono_literals;

namespace {

/// Steps are made in groups when they come faster than this, so that a fast simulation does not wake up for
/// each of them.
constexpr Clock::Duration SHORTEST_PAUSE = 10ms;
/// A simulation that its machine cannot keep up with falls behind instead of hanging on to lost time.
constexpr Clock::Duration LONGEST_BACKLOG = 1s;
constexpr Clock::Duration LONG_PAUSE = 1h;

double secondsOf(Simulation::Time time) {
    return static_cast<double>(time.count()) / 1000;
}

} // namespace

Simulation::Simulation(Options settings, std::shared_ptr<SimulatedDevice> world,
                       std::shared_ptr<FaultTable> present, std::shared_ptr<DeviceLink> wire, Clock& time) :
    tickLength{settings.tick},
    folders{std::move(settings.folders)},
    device{std::move(world)},
    faults{std::move(present)},
    link{std::move(wire)},
    clock{time},
    speed{settings.speed},
    first{std::move(settings.scenario)} {}

Simulation::~Simulation() {
    stop();
}

void Simulation::start() {
    if (thread.joinable()) {
        return;
    }
    {
        const MutexLock lock{mutex};
        stopping = false;
        if (first) {
            beginToPlay(*std::exchange(first, std::nullopt));
        }
    }
    thread = std::thread{[this] { run(); }};
}

void Simulation::stop() {
    {
        const MutexLock lock{mutex};
        stopping = true;
        changed.notify_all();
    }
    if (thread.joinable()) {
        thread.join();
    }
}

void Simulation::run() {
    MutexLock lock{mutex};
    Clock::Duration last = clock.now();
    double due = 0; // simulated milliseconds that have not been made yet
    while (!stopping) {
        const Clock::Duration now = clock.now();
        const double passed =
            std::chrono::duration<double, std::milli>{std::min(now - last, LONGEST_BACKLOG)}.count();
        last = now;
        due = speed > 0 ? due + passed * speed : 0;
        const auto length = static_cast<double>(tickLength.count());
        while (due >= length && speed > 0 && !stopping && clock.now() - now < LONGEST_BACKLOG) {
            tick(tickLength);
            due -= length;
            lock.unlock(); // commands need not wait for a whole group
            lock.lock();
        }
        due = std::min(due, speed * 1000);
        // Held against the longest before it becomes a whole number, which a very small speed would not fit.
        const std::chrono::duration<double, std::milli> wait{speed > 0 ? (length - due) / speed : INFINITY};
        const auto pause = wait < LONG_PAUSE ? std::chrono::duration_cast<Clock::Duration>(wait) : LONG_PAUSE;
        if (!stopping) {
            clock.waitFor(changed, lock, std::clamp(pause, SHORTEST_PAUSE, LONG_PAUSE));
        }
    }
}

void Simulation::advance(Time time) {
    while (time > 0ms) {
        const MutexLock lock{mutex};
        if (stopping) {
            throw std::runtime_error{"the simulator is being stopped"};
        }
        tick(std::min(time, tickLength));
        time -= std::min(time, tickLength);
    }
}

void Simulation::tick(Time length) {
    device->step(length);
    playDueSteps();
}

void Simulation::playDueSteps() {
    const Time now = device->now();
    while (play && play->next < play->scenario.steps.size() &&
           play->begun + play->scenario.steps[play->next].at <= now) {
        const Scenario::Step step = play->scenario.steps[play->next++];
        doStep(step);
    }
    if (play && play->next >= play->scenario.steps.size()) {
        said.end(play->scenario.name, now);
        play.reset();
    }
}

void Simulation::doStep(const Scenario::Step& step) {
    if (!step.say.empty()) {
        said.say(step.say, device->now());
    }
    if (!step.command) {
        return;
    }
    try {
        doCommand(*step.command);
    } catch (const std::exception& failure) {
        // The device of this scenario is another one; the rest of it may still make sense.
        said.say("a step could not be done: " + std::string{failure.what()}, device->now());
    }
}

void Simulation::beginToPlay(Scenario scenario) {
    play = Play{std::move(scenario), device->now(), 0};
    playDueSteps();
}

std::string Simulation::execute(const Command& command) {
    if (const auto* forward = std::get_if<AdvanceCommand>(&command)) {
        advance(forward->time);
        return R"(,"time":)" + jsonNumber(secondsOf(device->now()));
    }
    if (const auto* request = std::get_if<PlayCommand>(&command)) {
        Scenario scenario = readScenario(findFile(request->scenario, folders));
        const MutexLock lock{mutex};
        beginToPlay(std::move(scenario));
        return {};
    }
    const MutexLock lock{mutex};
    return doCommand(command);
}

std::string Simulation::doCommand(const Command& command) {
    if (const auto* order = std::get_if<PanelCommand>(&command)) {
        Panel panel{*device};
        return std::visit([&panel](const auto& each) { return panel.carryOut(each); }, *order);
    }
    if (const auto* order = std::get_if<FaultCommand>(&command)) {
        faults->add(order->fault);
        link->noticeFaults();
    } else if (const auto* clear = std::get_if<ClearCommand>(&command)) {
        clearFaults(clear->kind);
    } else if (const auto* change = std::get_if<SpeedCommand>(&command)) {
        speed = change->factor;
        changed.notify_all();
    } else if (const auto* say = std::get_if<SayCommand>(&command)) {
        said.say(say->text, device->now());
    } else if (std::holds_alternative<StatusCommand>(command)) {
        return statusText();
    }
    return {};
}

void Simulation::clearFaults(std::optional<FaultKind> kind) {
    if (kind) {
        faults->clear(*kind);
    } else {
        faults->clear();
    }
    link->noticeFaults();
}

std::string Simulation::statusText() {
    std::string names;
    for (const Fault& fault : faults->all()) {
        names += (names.empty() ? "" : ",") + jsonText(describe(fault));
    }
    return R"(,"device":)" + jsonText(device->description().file) + R"(,"time":)" +
           jsonNumber(secondsOf(device->now())) + R"(,"speed":)" + jsonNumber(speed) + R"(,"link":")" +
           (link->status().state == 2 ? "up" : "down") + R"(","scenario":)" +
           (play ? jsonText(play->scenario.name) : "null") + R"(,"faults":[)" + names + "]";
}

} // namespace velk::simulator
