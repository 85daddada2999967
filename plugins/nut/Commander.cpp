#include "plugins/nut/Commander.h"

#include "plugins/nut/ProtocolLine.h"

#include <stdexcept>

namespace velk::nut {

using namespace std::chrono_literals;

namespace {

constexpr Commander::Duration BETWEEN_LOOKS = 20ms;

void requireSafe(const std::string& value) {
    if (!isSafeValue(value)) {
        throw std::runtime_error{"the server takes no value with '#', '\"', '\\' or control characters"};
    }
}

} // namespace

Commander::Commander(const NutConfiguration& settings, const Interrupt& stopped, velk::common::Clock& time,
                     Duration changeTimeout) :
    configuration{settings}, interrupt{stopped}, clock{time}, timeout{changeTimeout} {}

std::unique_ptr<NutClient> Commander::connect(Duration deadline) {
    auto client = std::make_unique<NutClient>(configuration, interrupt, clock, deadline - clock.now());
    client->endBy(deadline);
    client->login();
    client->enableTracking();
    return client;
}

std::string Commander::set(const std::string& variable, const std::string& value, const Arrival& hasArrived) {
    requireSafe(value);
    const Duration deadline = clock.now() + timeout;
    const auto client = connect(deadline);
    const std::string before = client->get(variable);
    awaitOutcome(*client, client->set(variable, value), deadline);
    return awaitArrival(*client, variable, before, hasArrived, deadline);
}

void Commander::run(const std::string& command, const std::string& parameter) {
    requireSafe(parameter);
    const Duration deadline = clock.now() + timeout;
    const auto client = connect(deadline);
    awaitOutcome(*client, client->run(command, parameter), deadline);
}

std::string Commander::run(const std::string& command, const std::string& variable,
                           const Arrival& hasArrived) {
    const Duration deadline = clock.now() + timeout;
    const auto client = connect(deadline);
    const std::string before = client->get(variable);
    awaitOutcome(*client, client->run(command, {}), deadline);
    return awaitArrival(*client, variable, before, hasArrived, deadline);
}

void Commander::awaitOutcome(NutClient& client, const std::string& tracking, Duration deadline) {
    if (tracking.empty()) {
        return; // a server without tracking: that it handed the change on is all that it ever says
    }
    while (client.outcome(tracking) == TrackedOutcome::Pending) {
        pauseUntilNextLook(deadline, "the driver did not say in time what came of it");
    }
}

std::string Commander::awaitArrival(NutClient& client, const std::string& variable, const std::string& before,
                                    const Arrival& hasArrived, Duration deadline) {
    const std::string kept = "the device kept " + variable + " at ";
    for (;;) {
        std::string text = client.get(variable);
        if (hasArrived(before, text)) {
            return text;
        }
        pauseUntilNextLook(deadline, std::string{kept}.append("\"").append(text).append("\""));
    }
}

void Commander::pauseUntilNextLook(Duration deadline, const std::string& awaited) {
    if (clock.now() + BETWEEN_LOOKS >= deadline || interrupt.isRaised()) {
        throw std::runtime_error{awaited};
    }
    clock.sleepFor(BETWEEN_LOOKS);
}

} // namespace velk::nut
