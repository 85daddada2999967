#include "powerdistribution/alarms/AlarmConfig.h"

namespace velk::powerdistribution {

std::ostream& operator<<(std::ostream& stream, const AlarmConfig& config) {
    stream << "AlarmConfig([ ";
    for (const Trigger& trigger : config.triggers) {
        stream << trigger << " ";
    }
    return stream << "])";
}

} // namespace velk::powerdistribution
