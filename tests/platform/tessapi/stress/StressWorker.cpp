// The programs that work on one store at the same time while the test kills them.
//
//     stress_worker URL write NAME ACKNOWLEDGED [COUNT]   counts up the channel of device NAME from what it
//     holds,
//                                                         for ever or COUNT times
//     stress_worker URL watch LOG                         notes every write of any channel, until device
//     "end" has one stress_worker URL churn                             makes and removes devices with
//     settings, and looks at all

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/TessAccessor.h"
#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "tests/platform/tessapi/stress/Acknowledged.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using tessapi::TessAccessor;
using velk::common::Uuid;

const std::string CHANNEL{"PowerDistribution.Status.Source"};

std::uint64_t deviceOf(TessAccessor& store, const std::string& name) {
    return store.emplaceDevice(Uuid{Uuid::VELK_NAMESPACE, name}, TessAccessor::ROOT_DEVICE, 0);
}

void write(TessAccessor& store, const std::vector<std::string>& words) {
    auto& channels = store.inbandAccessor();
    const auto channel = channels.emplaceChannel(deviceOf(store, words.at(3)), CHANNEL, false);
    const tessapi::stress::Acknowledged acknowledged{words.at(4)};
    const auto first = channels.getChannelCValue(channel).as_uint32() + 1;
    const auto count = words.size() > 5 ? static_cast<std::uint32_t>(std::stoul(words[5]))
                                        : std::numeric_limits<std::uint32_t>::max() - first;
    for (auto number = first; number < first + count; ++number) {
        channels.setChannelCValue(channel, qz::CValue{number});
        acknowledged.set(number);
    }
}

void watch(TessAccessor& store, const std::vector<std::string>& words) {
    const auto end = store.inbandAccessor().emplaceChannel(deviceOf(store, "end"), CHANNEL, false);
    std::FILE* log = std::fopen(words.at(3).c_str(), "we");
    std::atomic<bool> done{false};
    std::uint64_t subscription = 0;
    store.browser().subscribeAllChannels(
        [&](const tessapi::ChannelWrite& seen) {
            if (seen.channel == end) {
                done = true;
                done.notify_all();
            } else if (seen.value.type() == qz::datatype::uint32) {
                std::fprintf(log, "%llu %u\n", static_cast<unsigned long long>(seen.channel),
                             seen.value.as_uint32());
            }
        },
        &subscription);
    std::cout << "watching" << std::endl;
    done.wait(false);
    store.inbandAccessor().unsubscribe(subscription);
    std::fclose(log);
}

void churn(TessAccessor& store) {
    auto& channels = store.inbandAccessor();
    const auto parent = deviceOf(store, "churn");
    for (std::uint32_t round = 0;; ++round) {
        const Uuid name{Uuid::VELK_NAMESPACE, "churn " + std::to_string(round)};
        const auto device = store.emplaceDevice(name, parent, round % 3 == 0 ? 20 : 0);
        const auto channel = channels.emplaceChannel(device, "PowerDistribution.Measure.Voltage", false);
        channels.setChannelCValue(channel, qz::CValue{static_cast<float>(round)});
        channels.setDeviceAttribute(device, tessapi::DeviceAttribute::model, std::to_string(round));
        if (store.browser().snapshot().devices.size() < 3) {
            throw std::runtime_error{"a device is missing"};
        }
        if (round % 5 == 0) {
            store.removeAllSubDevicesExcept(parent, {}, 1000);
        }
    }
}

/// A keeper without a rest: the race that the lock between the processes prevents needs many copies to show.
void copy(const std::string& path) {
    tessapi::SharedPage page{path + "-lock", path};
    tessapi::InterprocessLock lock{page, path, std::chrono::seconds{10}};
    tessapi::Database database{path, path};
    database.execute("PRAGMA synchronous=OFF"); // the machine goes on, and so there is time for more copies
    for (;;) {
        const tessapi::InterprocessHold hold{lock};
        database.checkpoint();
    }
}

int run(const std::vector<std::string>& words) {
    if (words.at(2) == "copy") {
        copy(words.at(3));
        return 0;
    }
    const auto store = TessAccessor::open("stress_worker", words.at(1));
    const auto& task = words.at(2);
    if (task == "write") {
        write(*store, words);
    } else if (task == "watch") {
        watch(*store, words);
    } else {
        churn(*store);
    }
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        return run({arguments, arguments + argumentCount});
    } catch (const std::exception& failure) {
        std::cerr << "stress_worker: " << failure.what() << std::endl;
        return 1;
    }
}
