#include "plugins/simulator/model/Model.h"

#include "plugins/simulator/model/DeviceFileError.h"
#include "plugins/simulator/model/DevicePoints.h"
#include "plugins/simulator/model/Distribution.h"
#include "plugins/simulator/model/EventWatch.h"
#include "plugins/simulator/model/LineInteractiveUps.h"
#include "plugins/simulator/model/OnlineUps.h"
#include "plugins/simulator/model/OrderBook.h"
#include "plugins/simulator/model/PointTable.h"
#include "plugins/simulator/model/SimulatedClock.h"
#include "plugins/simulator/model/TransferSwitch.h"

#include <random>
#include <stdexcept>
#include <utility>

namespace velk::simulator {

namespace {

std::unique_ptr<PowerPath> pathOf(const DeviceDescription& description, Plant& plant) {
    switch (description.kind) {
    case DeviceKind::OnlineUps:
        return std::make_unique<OnlineUps>(plant, description.losses);
    case DeviceKind::LineInteractiveUps:
        return std::make_unique<LineInteractiveUps>(plant, description.losses);
    case DeviceKind::Ats:
        return std::make_unique<TransferSwitch>(plant, description.losses);
    case DeviceKind::Pdu:
        break;
    }
    return std::make_unique<Distribution>(plant, description.losses);
}

constexpr std::uint16_t EVENT_WITHOUT_MEANING = 9000;

} // namespace

/// Never moves: the points and watches refer to the parts.
struct Model::Parts {
    Parts(DeviceDescription told, std::uint32_t seed) :
        description{std::move(told)},
        clock{description.start},
        log{description.log.capacity, description.log.chunk},
        points{description.absent},
        plant{description},
        path{pathOf(description, plant)},
        random{seed} {
        for (const auto& [name, point] : description.points) {
            points.hold(name, point.value, point.info);
        }
        plant.attach(points);
        path->attach(points);
        remote = points.knob<bool>("Setting.RemoteControlEnabled", true);
        device.emplace(description, points, plant, *path, clock, log);
        for (const auto& [name, point] : description.points) {
            if (!points.holds(name)) {
                throw DeviceFileError{description.file, point.position,
                                      "\"" + name +
                                          "\" follows from the device's state and takes no value here"};
            }
        }
        // So that the first read shows a device that runs.
        advance(0, {});
        device->watch(events);
    }

    void step(std::chrono::milliseconds elapsed);
    void advance(double seconds, const PeriodStarts& starts);
    double ripple();

    DeviceDescription description;
    SimulatedClock clock;
    EventLog log;
    PointTable points;
    Plant plant;
    std::unique_ptr<PowerPath> path;
    std::optional<DevicePoints> device;
    EventWatch events;
    std::mt19937 random;
    Knob<bool> remote;
};

double Model::Parts::ripple() {
    if (description.ripple <= 0) {
        return 0;
    }
    // Written out, since the distributions of the standard library differ between implementations.
    const double share = static_cast<double>(random()) / static_cast<double>(std::mt19937::max());
    return (2 * share - 1) * description.ripple / 100;
}

void Model::Parts::step(std::chrono::milliseconds elapsed) {
    if (elapsed.count() <= 0) {
        return;
    }
    advance(std::chrono::duration<double>(elapsed).count(), clock.advance(elapsed));
    events.step(log, clock.now(), static_cast<std::uint16_t>(path->mode()));
}

void Model::Parts::advance(double seconds, const PeriodStarts& starts) {
    plant.loadRipple = ripple();
    for (Input& input : plant.inputs) {
        input.step(seconds, description.returnSeconds, ripple());
    }
    const Switch::Surroundings around = path->surroundings();
    for (Output& output : plant.outputs) {
        output.relay.step(seconds, around);
    }
    for (Outlet& outlet : plant.outlets) {
        outlet.relay.step(seconds, around);
    }
    const Feed feed = path->choose(plant.demand(), seconds, clock.now());
    path->settle(plant.feed(feed), seconds);
    plant.account(seconds);
    if (starts.quarter) {
        plant.begin(starts);
    }
    device->step(seconds);
}

Model::Model(DeviceDescription description, std::uint32_t seed) :
    parts{std::make_unique<Parts>(std::move(description), seed)} {}

Model::~Model() = default;
Model::Model(Model&&) noexcept = default;
Model& Model::operator=(Model&&) noexcept = default;

void Model::step(std::chrono::milliseconds elapsed) {
    parts->step(elapsed);
}

Value Model::read(const std::string& path) const {
    return parts->points.read(path);
}

bool Model::write(const std::string& path, const Value& value, Origin origin) {
    // The setting itself stays open, or nobody far away could ever enable the rest again.
    const bool isObeyed =
        origin == Origin::Panel || parts->remote.get() || path == "Setting.RemoteControlEnabled";
    return isObeyed && parts->points.write(path, value, origin == Origin::Panel);
}

const PointInfo* Model::find(const std::string& path) const {
    return parts->points.find(path);
}

std::map<std::string, PointInfo> Model::points() const {
    return parts->points.all();
}

conv::UnixTime Model::now() const {
    return parts->clock.now();
}

const DeviceDescription& Model::description() const {
    return parts->description;
}

void Model::setMains(const MainsOrder& order) {
    apply(order, parts->plant);
}

void Model::setLoad(const LoadOrder& order) {
    apply(order, parts->plant);
}

void Model::setBattery(const BatteryOrder& order) {
    apply(order, parts->plant);
}

void Model::setIdentity(const IdentityOrder& order) {
    const auto put = [this](const std::string& member, const std::optional<std::string>& text) {
        if (text) {
            parts->points.hold("Identification.Attribute." + member, Value{*text},
                               {PointType::Text, true, false, {}, {}, {}});
        }
    };
    put("SerialNumber", order.serialNumber);
    put("FirmwareVersion", order.firmwareVersion);
    put("Uuid", order.uuid);
    put("Model", order.model);
}

void Model::setCounts(const std::map<std::string, std::uint32_t>& counts) {
    parts->device->setCounts(counts);
}

const EventLog& Model::log() const {
    return parts->log;
}

void Model::addLogEntries(std::uint32_t count) {
    const auto mode = static_cast<std::uint16_t>(parts->path->mode());
    for (std::uint32_t entry = 0; entry < count; ++entry) {
        parts->log.add({0, EVENT_WITHOUT_MEANING, parts->clock.now(), 0, mode, 0, 0,
                        static_cast<std::int32_t>(EventWatch::Severity::Information)});
    }
}

void Model::overwriteLog() {
    addLogEntries(static_cast<std::uint32_t>(parts->log.capacity()));
}

void Model::restartLog() {
    parts->log.restart();
}

PowerBalance Model::balance() const {
    return parts->plant.balance;
}

const Plant& Model::plant() const {
    return parts->plant;
}

} // namespace velk::simulator
