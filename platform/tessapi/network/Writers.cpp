#include "platform/tessapi/network/Writers.h"

#include "platform/tessapi/network/Packer.h"

#include <random>

namespace tessapi {

namespace {

std::string randomBytes() {
    std::random_device source;
    Packer bytes;
    bytes.number(static_cast<std::uint32_t>(source())).number(static_cast<std::uint32_t>(source()));
    return bytes.take();
}

} // namespace

Writers::Writers() : values{randomBytes()}, others{randomBytes()} {}

std::uint64_t Writers::nextOther() {
    const auto number = ++last;
    giveUp(number - 1);
    return number;
}

void Writers::giveUp(std::uint64_t number) {
    auto known = ended.load();
    while (known < number && !ended.compare_exchange_weak(known, number)) {
    }
}

} // namespace tessapi
