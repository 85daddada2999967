#pragma once

#include "powerdistribution/handlers/GenericHandler.h"

namespace velk::powerdistribution::handlers {

/// A device of the store that also has phases.
class CircuitHandler : public GenericHandler {
public:
    CircuitHandler(const EPath& path, const velk::common::Uuid& parentUuid, const Factories& factories);
    ~CircuitHandler() override;
};

} // namespace velk::powerdistribution::handlers
