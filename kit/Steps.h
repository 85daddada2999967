#pragma once

#include "kit/Session.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velk::kit {

/// One part of the trial.
struct Step {
    const char* name; ///< what the plug-in is put through, for people
    /// False when nothing that follows can be tried.
    bool (*run)(Session& session);
    bool isPreparation; ///< needed by all that follow, also in a child that begins behind it
};

/// All parts in their order.
const std::vector<Step>& steps();

// Preparations.
bool loadPlugin(Session& session);
bool findDevice(Session& session);
bool walkTree(Session& session);

// Trials, each of which leaves the device found and connected.
bool tryOddPaths(Session& session);
bool tryIdentity(Session& session);
bool tryValues(Session& session);
bool tryCounts(Session& session);
bool tryNames(Session& session);
bool tryCommunicationStatus(Session& session);
bool tryAlarmFile(Session& session);
bool trySettings(Session& session);
bool tryChangingSettings(Session& session);
bool tryManyThreads(Session& session);
bool tryLifetimes(Session& session);
bool tryLoss(Session& session);
bool tryDisconnect(Session& session);
bool tryActions(Session& session);

/// The last: lets everything go, and loads the plug-in once more.
bool tryEnd(Session& session);

// What several of them need.

/// States of the link.
inline constexpr std::uint32_t GOOD_LINK = 2;
inline constexpr std::uint32_t LOST_LINK = 3;

/// Reports a device that is another one than `tryIdentity` has seen.
void checkIdentity(Session& session, const std::string& when);

/// True for a value that must not be shown once the device cannot be reached: measures and states. Who
/// the device is, what it is built of, and how it is set stays true.
bool goesStale(const Point& point);

/// The wrapper of a point with what it reads, if it reads as a value that goes stale.
struct Sample {
    const Point* point;
    Session::WrapperPtr wrapper;
    Session::Value value;
};

/// All that can go stale, read now.
std::vector<Sample> takeSamples(const Session& session);

/// Reports those that still give a value, from the wrapper or from one that is built anew.
void checkNothingIsStale(const Session& session, const std::vector<Sample>& samples, const std::string& when);

} // namespace velk::kit
