#include "powerdistribution/alarms/AlarmConfigurationError.h"

namespace velk::powerdistribution {

AlarmConfigurationError::AlarmConfigurationError(const std::string& message,
                                                 velk::common::lwjson::Position place) :
    PowerDistributionError{message}, where{place} {}

AlarmConfigurationError::~AlarmConfigurationError() = default;

} // namespace velk::powerdistribution
