#pragma once

#include "platform/common/Export.h"
#include "platform/common/lwjson/Deserializer.h"
#include "powerdistribution/core/PowerDistributionError.h"

#include <string>

namespace velk::powerdistribution {

/// A trigger that an alarm configuration file describes wrongly, with the place in the file.
class VELK_EXPORT AlarmConfigurationError : public PowerDistributionError {
public:
    AlarmConfigurationError(const std::string& message, velk::common::lwjson::Position place);
    ~AlarmConfigurationError() override;

    /// Where the trigger, or the member that is wrong, begins.
    velk::common::lwjson::Position position() const { return where; }

private:
    velk::common::lwjson::Position where;
};

} // namespace velk::powerdistribution
