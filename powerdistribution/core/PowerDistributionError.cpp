#include "powerdistribution/core/PowerDistributionError.h"

namespace velk::powerdistribution {

PowerDistributionError::PowerDistributionError(const std::string& message) : std::runtime_error{message} {}

PowerDistributionError::~PowerDistributionError() = default;

} // namespace velk::powerdistribution
