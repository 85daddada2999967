#include "platform/tessapi/network/ChannelMemory.h"

#include <stdexcept>

namespace tessapi {

namespace {

using velk::common::MutexLock;

bool countsEveryWrite(const std::string& name) {
    for (const auto* family : {"PowerDistribution.Action.", "PowerDistribution.PrivateAction.",
                               "PowerDistribution.Setting.", "Daemon."}) {
        if (name.rfind(family, 0) == 0) {
            return true;
        }
    }
    return name.empty();
}

} // namespace

void ChannelMemory::learnType(std::uint64_t channel, qz::datatype type) {
    MutexLock lock{mutex};
    channels[channel].type = type;
}

void ChannelMemory::learnName(std::uint64_t channel, const std::string& name) {
    MutexLock lock{mutex};
    auto& known = channels[channel];
    known.name = name;
    known.inOrder = countsEveryWrite(name);
}

void ChannelMemory::forget(std::uint64_t channel) {
    MutexLock lock{mutex};
    channels.erase(channel);
}

bool ChannelMemory::knows(const std::vector<Engine::ChannelValue>& values) const {
    MutexLock lock{mutex};
    for (const auto& [channel, value] : values) {
        const auto known = channels.find(channel);
        if (known == channels.end() || known->second.type == qz::datatype::unknown) {
            return false;
        }
        if (value.type() != known->second.type) {
            throw std::invalid_argument{refusal(channel, known->second.name, known->second.type, value)};
        }
    }
    return true;
}

bool ChannelMemory::isInOrder(std::uint64_t channel) const {
    MutexLock lock{mutex};
    const auto known = channels.find(channel);
    return known == channels.end() || known->second.inOrder;
}

std::string ChannelMemory::refusal(std::uint64_t channel, const std::string& name, qz::datatype type,
                                   const qz::CValue& value) {
    return "channel " + std::to_string(channel) + " (" + name + ") takes " + to_string(type) + ", not " +
           (value.isValid() ? to_string(*value.type()) : "an invalid value");
}

} // namespace tessapi
