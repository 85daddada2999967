// The programs that the tests of faults kill and stop.
//
//     fault_worker URL write WHO SEED FIRST ACKNOWLEDGED   does random work from the call FIRST on
//     fault_worker URL read                                looks at everything, and listens
//     fault_worker PATH copy                               copies the log of the store into its file
//     fault_worker FOLDER fill SEED FIRST ACKNOWLEDGED     fills one new store after the other
//
// ACKNOWLEDGED is a file that holds the number of the last call that has returned.

#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "tests/platform/tessapi/faults/RandomWork.h"
#include "tests/platform/tessapi/stress/Acknowledged.h"

#include <chrono>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using tessapi::Engine;
using tessapi::faults::RandomWork;
using tessapi::stress::Acknowledged;

using Words = std::vector<std::string>;

std::uint32_t number(const std::string& text) {
    return static_cast<std::uint32_t>(std::stoul(text));
}

/// Copies and syncs all the time.
Engine::Options eager() {
    Engine::Options options;
    options.framesToCopy = 64;
    options.restBeforeSync = std::chrono::milliseconds{5};
    options.longestWait = std::chrono::seconds{20};
    options.eventsKept = 1000;
    return options;
}

/// Leaves the processors to the others for a moment.
void rest() {
    std::this_thread::sleep_for(std::chrono::microseconds{100});
}

std::shared_ptr<Engine> open(const std::string& url) {
    return Engine::open(tessapi::StoreUrl{url}, true, eager());
}

void write(const Words& words) {
    const auto store = open(words.at(1));
    RandomWork work{*store, number(words.at(4)), number(words.at(3))};
    const Acknowledged acknowledged{words.at(6)};
    for (auto call = number(words.at(5));; ++call) {
        work.perform(call);
        acknowledged.set(call);
        rest();
    }
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
void copy(const std::string& path) {
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
    for (auto store = number(words.at(4));; ++store) {
        open("sqlite:" + (folder / std::to_string(store)).string())->fill(image);
        acknowledged.set(store);
        rest();
    }
}

int run(const Words& words) {
    const auto& task = words.at(2);
    if (task == "write") {
        write(words);
    } else if (task == "read") {
        read(words);
    } else if (task == "copy") {
        copy(words.at(1));
    } else if (task == "fill") {
        fill(words);
    }
    return 2;
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
