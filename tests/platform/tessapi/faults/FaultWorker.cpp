// The programs that the tests of faults kill and stop.
//
//     fault_worker URL write WHO SEED FIRST ACKNOWLEDGED   does random work from the call FIRST on
//     fault_worker URL read                    looks at everything, and listens
//     fault_worker PATH copy                   copies the log of the store into its file
//     fault_worker FOLDER fill SEED FIRST ACKNOWLEDGED     fills one new store after the other
//     fault_worker URL pace WHO MICROSECONDS   writes with this pause until its input ends, and says how
//                                              long a call took at most
//     fault_worker URL look MICROSECONDS       reads and listens likewise
//     fault_worker URL stop                    stops itself in the middle of a read, and then hears of the
//                                              end: the first value of the root's channel
//     fault_worker URL follow WHO              hears every write of a `pace` in its order, to the end
//     fault_worker URL untold CHANNEL VALUE STAGE          sets a value and is killed before it has told of
//                                              it: at once (0), with half of the change in the shared page
//                                              (1), or with all but its number (2)
//     fault_worker URL wait                    waits for the writers' lock, which nobody gives it
//     fault_worker URL queue                   waits for the writers' lock, and then ends
//     fault_worker URL roam SEED               reads, listens and writes in random order
//     fault_worker FOLDER full SEED            works on a small file system until it is full
//
// ACKNOWLEDGED is a file that holds the number of the last call that has returned.

#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/engine/ChangeLog.h"
#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/NewsRing.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/Transaction.h"
#include "tests/platform/tessapi/faults/FastClock.h"
#include "tests/platform/tessapi/faults/FaultDisk.h"
#include "tests/platform/tessapi/faults/Faults.h"
#include "tests/platform/tessapi/faults/RandomWork.h"
#include "tests/platform/tessapi/faults/StoreCheck.h"
#include "tests/platform/tessapi/stress/Acknowledged.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <poll.h>
#include <random>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using tessapi::Engine;
using tessapi::faults::RandomWork;
using tessapi::stress::Acknowledged;

using Words = std::vector<std::string>;

std::uint32_t number(const std::string& text) {
    return static_cast<std::uint32_t>(std::stoul(text));
}

/// Copies and syncs all the time, and measured values in a quarter of the time that the URL says.
Engine::Options eager() {
    static tessapi::faults::FastClock clock{tessapi::faults::FastClock::OF_KILLED_PROGRAMS};
    Engine::Options options;
    options.clock = &clock;
    options.framesToCopy = 64;
    options.restBeforeSync = std::chrono::milliseconds{5} * tessapi::faults::FastClock::OF_KILLED_PROGRAMS;
    options.longestWait = std::chrono::seconds{20};
    options.eventsKept = 1000;
    return options;
}

/// Leaves the processors to the others for a moment.
void rest(std::chrono::microseconds time = std::chrono::microseconds{100}) {
    std::this_thread::sleep_for(time);
}

std::shared_ptr<Engine> open(const std::string& url) {
    return Engine::open(tessapi::StoreUrl{url}, true, eager());
}

// Of one life: the test does each call again and looks at each store, and must not fall behind.
constexpr std::uint32_t MOST_CALLS = 2'000, MOST_STORES = 50;

[[noreturn]] void awaitKill() {
    for (;;) {
        std::this_thread::sleep_for(std::chrono::hours{1});
    }
}

void write(const Words& words) {
    const auto store = open(words.at(1));
    RandomWork work{*store, number(words.at(4)), number(words.at(3))};
    const Acknowledged acknowledged{words.at(6)};
    const auto first = number(words.at(5));
    for (auto call = first; call < first + MOST_CALLS; ++call) {
        work.perform(call);
        acknowledged.set(call);
        rest(std::chrono::microseconds{300});
    }
    awaitKill();
}

void read(const Words& words) {
    const auto store = open(words.at(1));
    tessapi::Dispatcher dispatcher{"fault_worker", store};
    const auto listen = [](const Engine::Start& start) {
        return std::make_unique<tessapi::StoreSubscription>(start.seq, [](const tessapi::ChannelWrite&) {});
    };
    dispatcher.subscribe({}, listen, nullptr);
    for (;;) {
        const auto image = store->image();
        if (image.content.devices.empty()) {
            throw std::runtime_error{"the root is missing"};
        }
        for (const auto& device : image.content.devices) {
            store->attribute(device.id, 5);
            store->mostCriticalOf(device.id);
        }
        store->startOf({1000, 1001});
        rest();
    }
}

/// A keeper without a rest.
void copy(const Words& words) {
    const auto& path = words.at(1);
    tessapi::SharedPage page{path + "-lock", path};
    tessapi::InterprocessLock lock{page, path, std::chrono::seconds{20}};
    tessapi::Database database{path, path};
    database.execute("PRAGMA synchronous=OFF"); // the machine goes on, and so there is time for more copies
    for (;;) {
        {
            const tessapi::InterprocessHold hold{lock};
            database.checkpoint();
        }
        rest();
    }
}

void fill(const Words& words) {
    const std::filesystem::path folder{words.at(1)};
    const auto model = open("memory:model");
    RandomWork work{*model, number(words.at(3)), 0};
    for (std::uint32_t call = 1; call <= 100; ++call) {
        work.perform(call);
    }
    const auto image = model->image();
    const Acknowledged acknowledged{words.at(5)};
    const auto first = number(words.at(4));
    for (auto store = first; store < first + MOST_STORES; ++store) {
        open("sqlite:" + (folder / std::to_string(store)).string())->fill(image);
        acknowledged.set(store);
        // Each of them is looked at after the kill.
        std::this_thread::sleep_for(std::chrono::milliseconds{10});
    }
    awaitKill();
}

using Clock = std::chrono::steady_clock;

bool inputHasEnded() {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, 0) > 0;
}

/// With less history than usual, and in a short run with a log that is soon too long.
std::shared_ptr<Engine> openAsUsual(const std::string& url) {
    Engine::Options options;
    options.changesKept = 1000;
    if (!tessapi::faults::all()) {
        options.framesToCopy = 512;
    }
    return Engine::open(tessapi::StoreUrl{url}, true, options);
}

void pace(const Words& words) {
    const auto store = openAsUsual(words.at(1));
    const auto device =
        store->emplaceDevice(velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, words.at(3)}, 1, 0);
    std::vector<std::uint64_t> channels;
    for (int i = 0; i < 20; ++i) {
        channels.push_back(store->emplaceChannel(device, "Test.Text" + std::to_string(i)));
    }
    const std::chrono::microseconds pause{number(words.at(4))};
    Clock::duration longest{};
    std::uint64_t calls = 0;
    for (; calls % 16 != 0 || !inputHasEnded(); ++calls) {
        const auto began = Clock::now();
        store->setValue(channels[calls % channels.size()], qz::CValue{std::to_string(calls)});
        longest = std::max(longest, Clock::now() - began);
        if (pause.count() != 0) {
            std::this_thread::sleep_for(pause);
        }
    }
    std::cout << calls << ' ' << std::chrono::duration_cast<std::chrono::milliseconds>(longest).count()
              << std::endl;
}

void look(const Words& words) {
    const auto store = openAsUsual(words.at(1));
    tessapi::Dispatcher dispatcher{"fault_worker", store};
    std::atomic<std::uint64_t> heard{0};
    const auto listen = [&](const Engine::Start& start) {
        return std::make_unique<tessapi::StoreSubscription>(start.seq,
                                                            [&](const tessapi::ChannelWrite&) { ++heard; });
    };
    dispatcher.subscribe({}, listen, nullptr);
    const std::chrono::microseconds pause{number(words.at(3))};
    std::uint64_t reads = 0;
    for (; !inputHasEnded(); ++reads) {
        if (store->snapshot().devices.empty()) {
            throw std::runtime_error{"the root is missing"};
        }
        std::this_thread::sleep_for(pause);
    }
    std::cout << reads << ' ' << heard << std::endl;
}

void stop(const Words& words) {
    auto& disk = tessapi::faults::FaultDisk::instance();
    const auto store = openAsUsual(words.at(1));
    const auto end = store->emplaceChannel(1, "Test.End");
    tessapi::Dispatcher dispatcher{"fault_worker", store};
    std::atomic<bool> ended{false};
    const auto listen = [&](const Engine::Start& start) {
        return std::make_unique<tessapi::StoreSubscription>(start.seq,
                                                            [&](const tessapi::ChannelWrite& write) {
                                                                if (write.channel == end) {
                                                                    ended = true;
                                                                    ended.notify_all();
                                                                }
                                                            });
    };
    dispatcher.subscribe({}, listen, nullptr);
    std::cout << "ready" << std::endl;
    std::string line;
    std::getline(std::cin, line);
    // Of one moment, however long the read has taken: the writer at full speed writes one channel after the
    // other, so that his last twenty numbers follow one another.
    const auto daemon = store->deviceIdOf(velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "daemon"});
    disk.stopInNextRead();
    std::vector<std::uint64_t> numbers;
    for (const auto& channel : store->image().content.channels) {
        if (channel.deviceId == daemon) {
            numbers.push_back(std::stoull(channel.value.as_string()));
        }
    }
    std::sort(numbers.begin(), numbers.end());
    if (numbers.size() != 20 || numbers.back() - numbers.front() != 19) {
        throw std::runtime_error{"what was read is of no one moment"};
    }
    std::cout << "read " << numbers.back() << std::endl;
    ended.wait(false);
    std::cout << "caught up" << std::endl;
}

void follow(const Words& words) {
    const auto store = openAsUsual(words.at(1));
    const velk::common::Uuid uuid{velk::common::Uuid::VELK_NAMESPACE, words.at(3)};
    const auto device = store->emplaceDevice(uuid, 1, 0);
    const auto end = store->emplaceChannel(1, "Test.End");
    tessapi::Dispatcher dispatcher{"fault_worker", store};
    std::atomic<bool> ended{false};
    std::atomic<std::uint64_t> expected{0};
    std::atomic<bool> inOrder{true};
    std::vector<std::uint64_t> channels;
    for (int i = 0; i < 20; ++i) {
        channels.push_back(store->emplaceChannel(device, "Test.Text" + std::to_string(i)));
    }
    const auto hear = [&](const tessapi::ChannelWrite& write) {
        if (write.channel == end) {
            ended = true;
            ended.notify_all();
        } else if (std::find(channels.begin(), channels.end(), write.channel) != channels.end()) {
            inOrder = inOrder && write.value.as_string() == std::to_string(expected++);
        }
    };
    const auto listen = [&](const Engine::Start& start) {
        return std::make_unique<tessapi::StoreSubscription>(start.seq, hear);
    };
    dispatcher.subscribe({}, listen, nullptr);
    std::cout << "ready" << std::endl;
    ended.wait(false);
    if (!inOrder || expected == 0) {
        throw std::runtime_error{"a write is missing or out of order"};
    }
}

void setUntold(const Words& words) {
    const auto path = words.at(1).substr(words.at(1).find(':') + 1);
    tessapi::SharedPage page{path + "-lock", words.at(1)};
    tessapi::InterprocessLock lock{page, words.at(1), std::chrono::seconds{5}};
    const tessapi::InterprocessHold hold{lock};
    tessapi::Database database{path, words.at(1)};
    tessapi::ChangeLog log{database, 1000};
    tessapi::Transaction transaction{database, tessapi::Transaction::Kind::write};
    log.append(tessapi::Change::Kind::value, number(words.at(3)), qz::CValue{number(words.at(4))}, 1);
    transaction.commit();
    if (const auto stage = number(words.at(5)); stage != 0) {
        auto& ring = page.words().news;
        const auto before = ring.newest.load();
        tessapi::NewsRing publisher{page, 1000};
        publisher.belongTo(database.identity());
        publisher.publish(log.takeFresh(), 0);
        ring.newest = before;
        auto& slot = ring.slots[static_cast<std::size_t>(log.head()) % tessapi::NewsRing::SLOTS];
        slot.stamp |= stage == 1 ? 1U : 0U;
    }
    ::raise(SIGKILL);
}

void wait(const Words& words) {
    const auto path = words.at(1).substr(words.at(1).find(':') + 1) + "-lock";
    tessapi::SharedPage page{path, words.at(1)};
    tessapi::InterprocessLock lock{page, words.at(1), std::chrono::milliseconds{200}};
    const tessapi::InterprocessHold hold{lock};
    std::thread{[&] {
        try {
            const tessapi::InterprocessHold second{lock};
        } catch (const std::exception& failure) {
            std::cout << failure.what() << std::endl;
        }
    }}.join();
}

void queue(const Words& words) {
    const auto path = words.at(1).substr(words.at(1).find(':') + 1) + "-lock";
    tessapi::SharedPage page{path, words.at(1)};
    tessapi::InterprocessLock lock{page, words.at(1), std::chrono::seconds{60}};
    std::cout << "ready" << std::endl;
    const tessapi::InterprocessHold hold{lock};
}

void roam(const Words& words) {
    const auto store = open(words.at(1));
    tessapi::Dispatcher dispatcher{"fault_worker", store};
    const auto listen = [](const Engine::Start& start) {
        return std::make_unique<tessapi::StoreSubscription>(start.seq, [](const tessapi::ChannelWrite&) {});
    };
    const auto channel = store->emplaceChannel(1, "Test.Roam");
    std::uint64_t subscription = 0;
    std::mt19937 random{number(words.at(3))};
    std::cout << "ready" << std::endl;
    for (;;) {
        switch (random() % 8) {
        case 0:
            store->image();
            break;
        case 1:
            store->startOf({channel});
            break;
        case 2:
            dispatcher.subscribe({}, listen, &subscription);
            dispatcher.unsubscribe(subscription);
            break;
        default:
            store->setValue(channel, qz::CValue{std::to_string(random())});
        }
    }
}

/// Does calls up to `last`; gives the text of the last refusal. The same calls but for those that were
/// refused are done on `model`.
std::string workUntil(std::uint32_t& call, std::uint32_t last, Engine& store, Engine& model,
                      std::uint32_t seed) {
    std::string refusal;
    for (; call <= last; ++call) {
        try {
            RandomWork{store, seed, 0}.perform(call);
        } catch (const std::exception& failure) {
            refusal = failure.what();
            continue;
        }
        RandomWork{model, seed, 0}.perform(call);
    }
    return refusal;
}

void full(const Words& words) {
    const std::filesystem::path folder{words.at(1)};
    const auto seed = number(words.at(3));
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("none", folder.c_str(), "tmpfs", 0, "size=2m") != 0) {
        std::cout << "not permitted" << std::endl;
        return;
    }
    const auto url = "sqlite:" + (folder / "tess.db").string();
    const auto model = open("memory:model");
    auto store = open(url);
    std::uint32_t call = 1;
    workUntil(call, 50, *store, *model, seed);
    {
        std::ofstream ballast{folder / "ballast", std::ios::binary};
        while (ballast << std::string(1024, 'x') << std::flush) {
        }
    }
    const auto refusal = workUntil(call, 1500, *store, *model, seed);
    std::cout << "full: " << refusal << std::endl;
    std::filesystem::remove(folder / "ballast");
    if (const auto failure = workUntil(call, 1600, *store, *model, seed); !failure.empty()) {
        throw std::runtime_error{"although there is space: " + failure};
    }
    store.reset();
    ::mount("none", folder.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, "size=2m");
    try {
        open(url)->setAttribute(1, 5, "text");
    } catch (const std::exception& failure) {
        std::cout << "read-only: " << failure.what() << std::endl;
    }
    ::mount("none", folder.c_str(), "tmpfs", MS_REMOUNT, "size=2m");
    store = open(url);
    const bool same = RandomWork{*store, seed, 0}.description() == RandomWork{*model, seed, 0}.description();
    const auto problems = tessapi::faults::problemTextOf((folder / "tess.db").string());
    std::cout << (same && problems.empty() ? "all there" : "something is missing: " + problems) << std::endl;
}

int run(const Words& words) {
    using Task = void (*)(const Words&);
    static const std::map<std::string, Task> tasks{
        {"write", write}, {"read", read}, {"copy", copy},     {"fill", fill},        {"pace", pace},
        {"look", look},   {"stop", stop}, {"follow", follow}, {"untold", setUntold}, {"wait", wait},
        {"queue", queue}, {"roam", roam}, {"full", full}};
    const auto task = tasks.find(words.at(2));
    if (task == tasks.end()) {
        return 2;
    }
    task->second(words);
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        return run({arguments, arguments + argumentCount});
    } catch (const std::exception& failure) {
        std::cerr << std::string{"fault_worker: "} + failure.what() + "\n" << std::flush;
        return 1;
    }
}
