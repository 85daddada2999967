#include "powerdistribution/connectors/HandlerData.h"

#include <utility>

namespace velk::powerdistribution::handlers {

HandlerData::HandlerData() = default;

HandlerData::HandlerData(EPath dataPath, Value dataValue, protocols::DataConfig config) :
    path{std::move(dataPath)}, value{std::move(dataValue)}, dataConfig{std::move(config)} {}

std::ostream& operator<<(std::ostream& stream, const HandlerData& data) {
    return stream << "HandlerData(" << data.path << ", value=" << data.value << ")";
}

} // namespace velk::powerdistribution::handlers
