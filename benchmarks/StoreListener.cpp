// The other process of the store benchmarks: echoes every write of the channel "Ping" into the channel
// "Pong". Arguments: URL, device. Writes "ready" when it listens; ends when its standard input is closed.

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"

#include <iostream>
#include <string>

int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "usage: velk-benchmark-listener URL DEVICE\n";
        return 2;
    }
    const auto store = tessapi::TessAccessor::open("listener", arguments[1], false);
    tessapi::InBandAccessor& channels = store->inbandAccessor();
    const std::uint64_t device = std::stoull(arguments[2]);
    const std::uint64_t ping = channels.getCatchedChannelId(device, "Ping");
    const std::uint64_t pong = channels.getCatchedChannelId(device, "Pong");
    channels.subscribeMultipleChannels(
        {ping}, [&](std::uint64_t, const qz::CValue& value) { channels.setChannelCValue(pong, value); },
        qz::sub::everyWrite, nullptr);
    std::cout << "ready" << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
    }
    return 0;
}
