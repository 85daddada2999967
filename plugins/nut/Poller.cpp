#include "plugins/nut/Poller.h"

#include "plugins/nut/LinkError.h"
#include "plugins/nut/ServerError.h"
#include "plugins/nut/StatusWords.h"

#include <algorithm>
#include <iostream>
#include <utility>

namespace velk::nut {

using velk::common::MutexLock;
using namespace std::chrono_literals;

namespace {

constexpr Poller::Duration FIRST_LOSS_PAUSE = 250ms;
constexpr Poller::Duration LONGEST_LOSS_PAUSE = 5s;

/// A list must have ended early enough that a silent server counts as lost within twice the interval and a
/// second after its last word.
Poller::Duration requestTimeout(const NutConfiguration& configuration) {
    return configuration.pollInterval / 2 + 500ms;
}

/// Why the list holds no data of the device; an empty text when it does.
std::string lackOf(const Variables& variables) {
    const StatusWords status{variables};
    if (variables.empty() || status.has("WAIT")) { // the server's placeholder for a driver that starts
        return "the driver has no data yet";
    }
    return status.has("NOCOMM") ? "the driver has lost the device" : "";
}

/// Whether the server's answer is about the device as a whole and not about what was asked.
bool meansLoss(const ServerError& failure) {
    return failure.code() == "DATA-STALE" || failure.code() == "DRIVER-NOT-CONNECTED";
}

/// What `ask` gives, or nothing when the server cannot tell it.
template <typename Ask>
auto orNothing(const Ask& ask) -> decltype(ask()) {
    try {
        return ask();
    } catch (const ServerError& failure) {
        if (meansLoss(failure)) {
            throw;
        }
        return {};
    }
}

std::set<std::string> namesOf(const Variables& variables) {
    std::set<std::string> names;
    for (const auto& [name, text] : variables) {
        names.insert(names.end(), name);
    }
    return names;
}

void tell(const NutConfiguration& configuration, const std::string& what) {
    std::cerr << "nut: " + configuration.deviceName() + ": " + what + "\n";
}

} // namespace

Poller::Poller(const NutConfiguration& settings, Interrupt& stopped, velk::common::Clock& time) :
    configuration{settings}, interrupt{stopped}, clock{time}, lossPause{FIRST_LOSS_PAUSE} {}

Poller::~Poller() {
    stop();
}

void Poller::start() {
    if (thread.joinable()) {
        return;
    }
    {
        const MutexLock lock{mutex};
        stopping = false;
    }
    interrupt.clear();
    thread = std::thread{[this] { run(); }};
}

void Poller::stop() {
    if (!thread.joinable()) {
        return;
    }
    {
        const MutexLock lock{mutex};
        stopping = true;
        wakeUp.notify_all();
    }
    interrupt.raise();
    thread.join();
    client.reset();
    names.clear();
    const MutexLock lock{mutex};
    setState(false, attached);
}

bool Poller::attach() {
    const MutexLock lock{mutex};
    setState(good, good);
    return good;
}

void Poller::detach() {
    const MutexLock lock{mutex};
    setState(good, false);
}

powerdistribution::protocols::CommunicationStatus Poller::status() const {
    const MutexLock lock{mutex};
    return {static_cast<std::uint8_t>(good && attached ? 2 : 3), since};
}

std::shared_ptr<const Snapshot> Poller::current() const {
    const MutexLock lock{mutex};
    return good && attached ? last : nullptr;
}

std::shared_ptr<const Snapshot> Poller::lastGood() const {
    const MutexLock lock{mutex};
    return last;
}

void Poller::put(const std::string& variable, const std::string& text) {
    const MutexLock lock{mutex};
    freshValues[variable] = {text, ++moments};
    if (last) {
        auto changed = std::make_shared<Snapshot>(*last);
        changed->variables[variable] = text;
        last = std::move(changed);
    }
}

bool Poller::isStopping() const {
    const MutexLock lock{mutex};
    return stopping;
}

bool Poller::isGood() const {
    const MutexLock lock{mutex};
    return good;
}

void Poller::run() {
    while (!isStopping()) {
        const Duration started = clock.now();
        const Duration pause = poll();
        MutexLock lock{mutex};
        for (;;) {
            const Duration left = started + pause - clock.now();
            if (stopping || left <= Duration::zero()) {
                break;
            }
            clock.waitFor(wakeUp, lock, left);
        }
    }
}

Poller::Duration Poller::poll() {
    try {
        if (!client) {
            client =
                std::make_unique<NutClient>(configuration, interrupt, clock, requestTimeout(configuration));
        }
        // Good data must not grow old over a slow server, however much there is to ask. Before, nothing is
        // served that could.
        const bool isServed = isGood();
        const Duration started = clock.now();
        client->endBy(isServed ? started + requestTimeout(configuration) : Duration::max());
        std::uint64_t asked = 0;
        {
            const MutexLock lock{mutex};
            asked = ++moments;
        }
        Variables variables = client->listVariables();
        const std::string lack = lackOf(variables);
        if (!lack.empty()) {
            lose(lack);
            return configuration.pollInterval;
        }
        if (isServed) {
            accept(variables, asked);
            learnCapabilities(variables, started + requestTimeout(configuration) / 2);
        } else {
            learnCapabilities(variables, Duration::max());
            accept(std::move(variables), asked);
        }
        return configuration.pollInterval;
    } catch (const ServerError& failure) {
        lose(failure.what());
        return configuration.pollInterval;
    } catch (const std::exception& failure) {
        client.reset();
        if (!isStopping()) {
            lose(failure.what());
        }
        return pauseAfterLoss();
    }
}

Poller::Duration Poller::pauseAfterLoss() {
    const Duration pause = lossPause;
    lossPause = std::min(2 * lossPause, LONGEST_LOSS_PAUSE);
    return pause;
}

/// Asked again only when variables have come or gone, since it takes a request for each variable that can be
/// set; what is known of a variable is kept while the device stays.
void Poller::learnCapabilities(const Variables& variables, Duration until) {
    auto present = namesOf(variables);
    if (known && present == namesOfKnown) {
        return;
    }
    auto capabilities = std::make_shared<Capabilities>();
    for (const std::string& command : orNothing([&] { return client->listCommands(); })) {
        capabilities->commands.insert(command);
    }
    for (const std::string& variable : orNothing([&] { return client->listWritable(); })) {
        if (limits.find(variable) == limits.end() && clock.now() >= until) {
            return;
        }
        capabilities->writable.emplace(variable, limitsOf(variable));
    }
    known = std::move(capabilities);
    namesOfKnown = std::move(present);
}

const VariableLimits& Poller::limitsOf(const std::string& variable) {
    const auto entry = limits.find(variable);
    if (entry != limits.end()) {
        return entry->second;
    }
    return limits.emplace(variable, orNothing([&] { return client->limitsOf(variable); })).first->second;
}

void Poller::accept(Variables variables, std::uint64_t asked) {
    lossPause = FIRST_LOSS_PAUSE;
    auto present = namesOf(variables);
    const bool isStable = present == names;
    names = std::move(present);

    const MutexLock lock{mutex};
    if (!good && !isStable) {
        return;
    }
    putFreshValues(variables, asked);
    last = std::make_shared<const Snapshot>(Snapshot{std::move(variables), known});
    if (!good && !reported.empty()) {
        tell(configuration, "connected again");
    }
    reported.clear();
    setState(true, attached);
}

void Poller::putFreshValues(Variables& variables, std::uint64_t asked) {
    for (auto entry = freshValues.begin(); entry != freshValues.end();) {
        const bool isYounger = entry->second.moment > asked;
        if (isYounger) {
            variables[entry->first] = entry->second.text;
        }
        entry = isYounger ? std::next(entry) : freshValues.erase(entry);
    }
}

void Poller::lose(const std::string& reason) {
    names.clear();
    // The driver that comes back may be another one.
    known.reset();
    limits.clear();
    if (reason != reported) {
        tell(configuration, reason);
        reported = reason;
    }
    const MutexLock lock{mutex};
    setState(false, attached);
}

void Poller::setState(bool isGood, bool isAttached) {
    if ((isGood && isAttached) != (good && attached)) {
        since = conv::UnixTime::now();
    }
    good = isGood;
    attached = isAttached;
}

} // namespace velk::nut
