#include "plugins/simulator/model/PointInfo.h"

namespace velk::simulator {

std::string_view to_string(PointType type) {
    switch (type) {
    case PointType::Bool:
        return "bool";
    case PointType::Int32:
        return "int32";
    case PointType::Uint32:
        return "uint32";
    case PointType::Float:
        return "float";
    case PointType::Time:
        return "timestamp";
    case PointType::Text:
        return "string";
    case PointType::Log:
        return "log";
    }
    return "unknown";
}

bool isOfType(const Value& value, PointType type) {
    switch (type) {
    case PointType::Bool:
        return value.holds<bool>();
    case PointType::Int32:
        return value.holds<std::int32_t>();
    case PointType::Uint32:
        return value.holds<std::uint32_t>();
    case PointType::Float:
        return value.holds<float>();
    case PointType::Time:
        return value.holds<conv::UnixTime>();
    case PointType::Text:
        return value.holds<std::string>();
    case PointType::Log:
        return value.holds<powerdistribution::InternalLogChunk>();
    }
    return false;
}

} // namespace velk::simulator
