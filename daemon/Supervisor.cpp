#include "daemon/Supervisor.h"

#include <chrono>
#include <exception>
#include <utility>

namespace velk::daemon {

namespace {

using velk::common::Clock;
using velk::common::MutexLock;

/// How often `stop` looks whether the run has begun, and for how long at most.
constexpr Clock::Duration LOOK_EVERY = std::chrono::milliseconds{10};
constexpr Clock::Duration LOOK_FOR = std::chrono::seconds{2};

/// The text of what left `exec`; empty for nothing. The exception object is gone when this returns: its code
/// may lie in a plug-in, which goes with the manager.
std::string failureOf(IHostedManager& manager) {
    try {
        manager.exec();
    } catch (const std::exception& failure) {
        const std::string text = failure.what();
        return text.empty() ? "an exception without a text" : text;
    } catch (...) {
        return "an exception that is none of the standard library";
    }
    return "";
}

} // namespace

Supervisor::Supervisor(Maker managerMaker, Clock& waitingClock, std::ostream& errorStream,
                       std::string whatToDo) :
    maker{std::move(managerMaker)}, clock{waitingClock}, errors{errorStream}, advice{std::move(whatToDo)} {}

void Supervisor::run() {
    while (!isStopping()) {
        const Clock::Duration begun = clock.now();
        const std::string failure = runOnce();
        if (isStopping()) {
            // What leaves a run that is being ended is still worth a line, but nothing follows from it.
            if (!failure.empty() && !isQuiet()) {
                errors << "powerdistributiond: the run ended with an error: " + failure + "\n" << std::flush;
            }
            return;
        }
        if (clock.now() - begun >= GONE_WELL) {
            pause.reset();
        }
        const Clock::Duration due = pause.next();
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(due).count();
        errors << "powerdistributiond: " +
                      (failure.empty() ? std::string{"the run ended without being asked to"}
                                       : "the run ended with an error: " + failure) +
                      "; a new one begins in " + std::to_string(seconds) + " s; " + advice + "\n"
               << std::flush;
        rest(due);
    }
}

std::string Supervisor::runOnce() {
    std::unique_ptr<IHostedManager> manager;
    try {
        manager = maker();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    if (!admit(*manager)) {
        return "";
    }
    std::string failure = failureOf(*manager);
    dismiss();
    return failure;
}

void Supervisor::end(bool quietly) {
    MutexLock lock{mutex};
    if (stopping) {
        return;
    }
    stopping = true;
    quiet = quietly;
    changed.notify_all();
    const Clock::Duration deadline = clock.now() + LOOK_FOR;
    while (running != nullptr && running->operatingStatus() == 0 && clock.now() < deadline) {
        clock.waitFor(changed, lock, LOOK_EVERY);
    }
    if (running != nullptr) {
        running->exit();
    }
}

bool Supervisor::isStopping() const {
    const MutexLock lock{mutex};
    return stopping;
}

bool Supervisor::isQuiet() const {
    const MutexLock lock{mutex};
    return quiet;
}

void Supervisor::rest(Clock::Duration due) {
    const Clock::Duration deadline = clock.now() + due;
    MutexLock lock{mutex};
    while (!stopping) {
        const Clock::Duration left = deadline - clock.now();
        if (left <= Clock::Duration::zero()) {
            return;
        }
        clock.waitFor(changed, lock, left);
    }
}

bool Supervisor::admit(IHostedManager& manager) {
    const MutexLock lock{mutex};
    if (stopping) {
        return false;
    }
    running = &manager;
    return true;
}

void Supervisor::dismiss() {
    const MutexLock lock{mutex};
    running = nullptr;
    changed.notify_all();
}

} // namespace velk::daemon
