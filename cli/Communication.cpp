#include "cli/Communication.h"

#include "cli/ValueText.h"
#include "platform/common/ProcessMark.h"

#include <limits>

namespace velk::cli {

namespace {

constexpr std::uint32_t CONNECTED = 2;
constexpr std::uint32_t LOST = 3;
constexpr std::int64_t UNKNOWN_END = std::numeric_limits<std::int64_t>::max();

std::string stateText(const tessapi::ChannelRecord& channel) {
    if (!channel.value.isValid()) {
        return "unknown";
    }
    if (const std::optional<std::string> label = labelOf(channel.value, channel)) {
        return *label;
    }
    const double number = channel.value.asNumber().value_or(0.0);
    return number == CONNECTED ? "connected" : number == LOST ? "lost" : "unknown";
}

/// From the daemon's note of itself: the mark of its process while it looks at the device, empty while it
/// does not. A store without it belongs to another host of the library, of which nothing is known.
std::optional<std::int64_t> endOfDaemon(const tessapi::StoreSnapshot& store) {
    for (const tessapi::ChannelRecord& channel : store.channels) {
        if (channel.name != Communication::DAEMON_PROCESS || channel.type != qz::datatype::string ||
            !channel.initialized) {
            continue;
        }
        const std::string mark = channel.value.as_string();
        if (mark.empty()) {
            return channel.changedMs;
        }
        return Communication::mayRun(mark, store) ? std::nullopt : std::optional{UNKNOWN_END};
    }
    return std::nullopt;
}

} // namespace

bool Communication::mayRun(const std::string& mark, const tessapi::StoreSnapshot& store) {
    using velk::common::ProcessMark;
    return ProcessMark::mayRun(mark, store.ofSeveralMachines ? ProcessMark::Origin::anyMachine
                                                             : ProcessMark::Origin::thisMachine);
}

Communication::Communication(const StoreView& picture, Daemon daemon) :
    view{picture}, endedMs{endOfDaemon(picture.snapshot())}, silent{daemon == Daemon::silent && !endedMs} {}

std::optional<Connection> Communication::stated(std::uint64_t deviceId) const {
    const Point* state = view.pointOf(deviceId, "CommunicationStatus.State");
    if (state == nullptr || state->channel == nullptr) {
        return std::nullopt;
    }
    Connection connection;
    connection.good = state->channel->value.asNumber().value_or(0.0) == CONNECTED;
    connection.state = stateText(*state->channel);
    connection.toldMs = state->channel->changedMs;
    connection.sinceMs = connection.toldMs;
    const Point* since = view.pointOf(deviceId, "CommunicationStatus.Since");
    if (since != nullptr && since->channel != nullptr && since->channel->value.isValid()) {
        connection.sinceMs = static_cast<std::int64_t>(since->channel->value.asNumber().value_or(0.0)) * 1000;
    }
    return connection;
}

Connection Communication::ofBranch(std::uint64_t deviceId) const {
    std::optional<Connection> nearestGood;
    const StoreView::Branch* branch = view.branch(deviceId);
    while (branch != nullptr && branch->equipment) {
        const std::optional<Connection> here = stated(branch->device->id);
        if (here && !here->good) {
            return *here;
        }
        if (!nearestGood && here) {
            nearestGood = here;
        }
        branch = view.branch(branch->device->parentId);
    }
    // Nothing stated on the whole way: nobody has heard of the device.
    Connection connection = nearestGood.value_or(Connection{});
    if (connection.good && !isWatched()) {
        connection.good = false;
        // What was written before, the daemon has taken to the device.
        connection.toldMs = endedMs.value_or(UNKNOWN_END);
        connection.state = std::string{"not watched: the daemon "} +
                           (silent ? "does not answer" : "is not running") + "; connected";
    }
    return connection;
}

Connection Communication::of(const Point& point) const {
    const StoreView::Branch* branch = view.branch(point.deviceId);
    const bool ofDaemon = point.name.starts_with("CommunicationStatus.") && isWatched();
    if (branch == nullptr || !branch->equipment || ofDaemon) {
        return Connection{true, "connected", 0, 0};
    }
    return ofBranch(point.deviceId);
}

bool Communication::isUnconfirmed(const Point& point) const {
    if (!point.isSetting() || point.channel == nullptr) {
        return false;
    }
    const Connection connection = of(point);
    return !connection.good && point.channel->changedMs > connection.toldMs;
}

} // namespace velk::cli
