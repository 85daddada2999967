#pragma once

#include "platform/common/Export.h"

#include <stdexcept>
#include <string>

namespace velk::powerdistribution {

/// A failure of this library; `what()` tells it in full.
class VELK_EXPORT PowerDistributionError : public std::runtime_error {
public:
    explicit PowerDistributionError(const std::string& message);
    ~PowerDistributionError() override;
};

} // namespace velk::powerdistribution
