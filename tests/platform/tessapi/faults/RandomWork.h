#pragma once

#include "platform/common/Uuid.h"
#include "platform/tessapi/engine/Engine.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessapi::faults {

/// Calls of all kinds on a store, each of which is one write, chosen by a seed. They keep to a device of
/// their own, so that several can work on one store; the same numbers on two stores give the same devices,
/// whatever else the stores hold.
/// Threads: one.
class RandomWork {
public:
    /// `who` names the worker; it takes seats from 100 up, ten for each number.
    RandomWork(Engine& engine, std::uint32_t seed, unsigned int who);

    /// Does the call with this number, which counts from 1.
    void perform(std::uint32_t number);

    /// What the worker has made, without identifiers and times. Empty for a store that he has not entered.
    std::string description();

    static std::string programOf(unsigned int who);

private:
    class Dice;

    velk::common::Uuid uuidOf(const std::string& name) const;
    std::uint64_t someDevice(Dice& dice);
    /// All ones when it is not there.
    std::uint64_t someChannel(Dice& dice);
    qz::CValue someValue(std::uint64_t channel, Dice& dice);
    std::vector<Engine::ChannelValue> someValues(Dice& dice);
    static qz::tess::CSingleAlarmConfig someAlarms(Dice& dice);
    static qz::CMultistateMap someStates(Dice& dice);

    void makeDevice(Dice& dice);
    void takeSeat(Dice& dice);
    void removeDevices(Dice& dice);
    void removeChannels(Dice& dice);
    void setAttribute(Dice& dice);
    void makeChannel(Dice& dice);
    void makeChannels(Dice& dice);
    void setValue(Dice& dice);
    void setGroup(Dice& dice);
    void setAlarms(Dice& dice);
    void setStates(Dice& dice);
    /// As the daemon writes: all kinds at once.
    void applyMixed(Dice& dice);
    void record(std::uint32_t number);

    Engine& store;
    const std::uint32_t start;
    const unsigned int worker;
    std::uint64_t base{0};
};

/// Everything in a store, times and identifiers among it.
std::string describe(const StoreImage& image);

/// Whether a value of this channel is a measured one, which a store that is worked on in memory does not
/// bring to the disk at once.
bool isMeasured(const ChannelRecord& channel);

/// Everything but measured values and their times: what is on the disk within a second when a store is worked
/// on in memory.
std::string describeSettings(const StoreImage& image);

} // namespace tessapi::faults
