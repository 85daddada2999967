// A program that the tests start to have another process work on their store.
//
//     store_writer URL count DEVICE CHANNEL FROM TO   writes the numbers; prints each one when it is written
//     store_writer URL attribute DEVICE TEXT          writes the model of the device
//     store_writer URL device DEVICE                  makes the device and prints its identifier
//     store_writer URL remove                         removes all devices
//     store_writer URL lock FILE                      holds the database's own lock until it is killed

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"

#include <exception>
#include <iostream>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using tessapi::DeviceAttribute;
using tessapi::TessAccessor;
using velk::common::Uuid;

std::uint64_t deviceOf(TessAccessor& store, const std::string& name) {
    return store.emplaceDevice(Uuid{Uuid::VELK_NAMESPACE, name}, TessAccessor::ROOT_DEVICE, 0);
}

void count(TessAccessor& store, const std::vector<std::string>& words) {
    auto& channels = store.inbandAccessor();
    const std::uint64_t channel = channels.emplaceChannel(deviceOf(store, words.at(3)), words.at(4), false);
    const std::uint32_t last = static_cast<std::uint32_t>(std::stoul(words.at(6)));
    for (auto number = static_cast<std::uint32_t>(std::stoul(words.at(5))); number <= last; ++number) {
        channels.setChannelCValue(channel, qz::CValue{number});
        std::cout << number << std::endl;
    }
}

[[noreturn]] void holdLock(const std::string& file) {
    sqlite3* database = nullptr;
    if (sqlite3_open(file.c_str(), &database) != SQLITE_OK ||
        sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error{sqlite3_errmsg(database)};
    }
    std::cout << "locked" << std::endl;
    while (true) {
        pause();
    }
}

int run(const std::vector<std::string>& words) {
    if (words.at(2) == "lock") {
        holdLock(words.at(3));
    }
    const auto store = TessAccessor::open("store_writer", words.at(1));
    const std::string& command = words.at(2);
    if (command == "count") {
        count(*store, words);
    } else if (command == "attribute") {
        store->inbandAccessor().setDeviceAttribute(deviceOf(*store, words.at(3)), DeviceAttribute::model,
                                                   words.at(4));
    } else if (command == "device") {
        std::cout << deviceOf(*store, words.at(3)) << std::endl;
    } else if (command == "remove") {
        store->removeAllSubDevicesExcept(TessAccessor::ROOT_DEVICE, {}, 1000);
    } else {
        return 2;
    }
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        return run({arguments, arguments + argumentCount});
    } catch (const std::exception& failure) {
        std::cerr << "store_writer: " << failure.what() << std::endl;
        return 1;
    }
}
