#include "cli/Watcher.h"

#include "cli/Failure.h"
#include "cli/Json.h"
#include "cli/PointReport.h"
#include "cli/TimeText.h"
#include "cli/ValueText.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

namespace {

bool tellsOfCommunication(const Point& point) {
    return point.name.starts_with("CommunicationStatus.") ||
           (point.channel != nullptr && point.channel->name == Communication::DAEMON_PROCESS);
}

} // namespace

Watcher::Watcher(Session& owner, const WatchOptions& wanted) :
    session{owner}, options{wanted}, view{session.store.browser().snapshot()} {
    for (const std::string& path : options.paths) {
        static_cast<void>(view.select(path));
    }
    choose();
    for (const tessapi::ChannelRecord& channel : view.snapshot().channels) {
        shown[channel.id] = {channel.value, channel.changedMs};
    }
}

void Watcher::look() {
    view = StoreView{session.store.browser().snapshot()};
    choose();
}

void Watcher::choose() {
    chosen.clear();
    const std::vector<std::string> everything{"**"};
    for (const std::string& path : options.paths.empty() ? everything : options.paths) {
        try {
            for (const Point* point : view.select(path)) {
                if (point->channel != nullptr) {
                    chosen.insert(point->channel->id);
                }
            }
        } catch (const Failure&) {
            // Nothing of that name now; what is watched may go away and come back.
            continue;
        }
    }
}

bool Watcher::show(const tessapi::ChannelWrite& write) {
    const Point* point = view.pointOf(write.channel);
    if (point == nullptr || tellsOfCommunication(*point)) {
        look();
        point = view.pointOf(write.channel);
    }
    if (point == nullptr || !chosen.contains(write.channel)) {
        return false;
    }
    const auto before = shown.find(write.channel);
    const bool changed = before == shown.end() || before->second.value != write.value;
    if (changed) {
        shown[write.channel] = {write.value, write.timeMs};
    } else if (!options.every) {
        return false;
    }
    print(*point, write, shown[write.channel].changedMs);
    return true;
}

void Watcher::print(const Point& point, const tessapi::ChannelWrite& write, std::int64_t changedMs) const {
    const Communication communication{view};
    const PointReport report{communication, session.style, session.nowMs()};
    tessapi::ChannelRecord channel = *point.channel;
    channel.value = write.value;
    channel.changedMs = changedMs;
    Point present = point;
    present.channel = &channel;
    if (session.json) {
        printLine(session.out, report.json(present));
        return;
    }
    const std::string freshness = report.freshness(present);
    session.out << session.style.faint(localClockText(write.timeMs)) << "  " << point.path << "  "
                << report.value(present) << (freshness.empty() ? "" : "  ") << freshness << std::endl;
}

} // namespace velk::cli
