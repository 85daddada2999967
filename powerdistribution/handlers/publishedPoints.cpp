#include "powerdistribution/handlers/publishedPoints.h"

#include "powerdistribution/handlers/BaseValueHandler.h"
#include "powerdistribution/handlers/ComStateHandler.h"
#include "powerdistribution/handlers/ComputedStatusHandler.h"
#include "powerdistribution/handlers/HealthStateHandler.h"
#include "powerdistribution/handlers/PowerEquipmentHandler.h"
#include "powerdistribution/handlers/RWValueHandler.h"
#include "powerdistribution/handlers/WOValueHandler.h"

namespace velk::powerdistribution::handlers {

namespace {

/// Nodes of the model that are no device of their own in the store: what is below them belongs to the device.
bool isTransparent(const EPath::Node& node) {
    return node == EPath::Node{ECircuit::PowerDistribution} || node == EPath::Node{EProperty::Identification};
}

std::string nameOf(const EPath& path) {
    std::string name;
    for (const EPath::Node& node : path.nodes()) {
        if (!isTransparent(node)) {
            name += (name.empty() ? "" : ".") + node.tostring();
        }
    }
    return name;
}

const char* kindOf(const BaseValueHandler& handler) {
    if (dynamic_cast<const RWValueHandler*>(&handler) != nullptr) {
        return "setting";
    }
    return dynamic_cast<const WOValueHandler*>(&handler) != nullptr ? "action" : "reading";
}

} // namespace

std::vector<PublishedPoint> publishedPoints(const IHandler& handler) {
    const EPath& path = handler.epath();
    if (const auto* value = dynamic_cast<const BaseValueHandler*>(&handler)) {
        return {{nameOf(path), kindOf(*value)}};
    }
    if (dynamic_cast<const ComputedStatusHandler*>(&handler) != nullptr) {
        return {{nameOf(path), "computed"}};
    }
    if (dynamic_cast<const HealthStateHandler*>(&handler) != nullptr) {
        return {{nameOf(path + EStatus::HealthState), "health"}};
    }
    if (dynamic_cast<const ComStateHandler*>(&handler) != nullptr) {
        return {{nameOf(path), "communication"},
                {nameOf(path.parent() + ECommunicationStatus::Since), "communication"}};
    }
    if (dynamic_cast<const PowerEquipmentHandler*>(&handler) != nullptr) {
        return {{nameOf(path + EStatus::OperatingStatus), "service"}};
    }
    return {};
}

bool gaveNothing(const IHandler& handler) {
    const auto* value = dynamic_cast<const BaseValueHandler*>(&handler);
    return value != nullptr && value->gaveNothing();
}

bool worksOnDevice(const IHandler& handler) {
    return dynamic_cast<const BaseValueHandler*>(&handler) != nullptr ||
           dynamic_cast<const ComStateHandler*>(&handler) != nullptr;
}

} // namespace velk::powerdistribution::handlers
