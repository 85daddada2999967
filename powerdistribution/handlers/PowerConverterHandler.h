#pragma once

#include "powerdistribution/handlers/CircuitHandler.h"

namespace velk::powerdistribution::handlers {

/// A converter: a circuit with a computed operating status and branches.
class PowerConverterHandler final : public CircuitHandler {
public:
    PowerConverterHandler(const EPath& path, const velk::common::Uuid& parentUuid,
                          const Factories& factories);
    ~PowerConverterHandler() override;
};

} // namespace velk::powerdistribution::handlers
