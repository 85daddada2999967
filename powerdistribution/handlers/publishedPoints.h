#pragma once

#include "powerdistribution/handlers/IHandler.h"

#include <string>
#include <vector>

namespace velk::powerdistribution::handlers {

/// A data point that a handler writes into the store.
struct PublishedPoint {
    std::string
        name; ///< as people write it: the store's device, then the data point; "Inputs.1.Measure.Voltage"
    const char* kind; ///< see PointPublisher::kind
};

/// What `handler` publishes; nothing for a node of the tree alone.
std::vector<PublishedPoint> publishedPoints(const IHandler& handler);

/// True when `handler` reads the device through a wrapper of its path that the last time gave no value.
bool gaveNothing(const IHandler& handler);

/// True when the wrapper of the handler's own path is where the value comes from or goes to.
bool worksOnDevice(const IHandler& handler);

} // namespace velk::powerdistribution::handlers
