#include "powerdistribution/protocols/AlarmFileCheck.h"

#include "platform/common/lwjson/JsonError.h"
#include "powerdistribution/alarms/AlarmConfigurationError.h"
#include "powerdistribution/alarms/AlarmConfigurationParser.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <fstream>
#include <system_error>

namespace velk::powerdistribution::protocols {

namespace {

using velk::common::lwjson::Position;

/// Reasons quote the file, which may hold line ends.
std::string mistakeAt(const std::string& path, const Position& position, std::string reason) {
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    return path + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) + ": " + reason;
}

} // namespace

std::optional<std::string> checkAlarmFile(const std::string& path) {
    errno = 0;
    if (!std::ifstream{path}) {
        return mistakeAt(path, {}, std::generic_category().message(errno));
    }
    // The parser itself is the judge, so that the check accepts exactly what the system accepts.
    try {
        const AlarmConfigurationParser parser{path};
        return std::nullopt;
    } catch (const velk::common::lwjson::JsonError& failure) {
        return mistakeAt(path, failure.position(), failure.reason());
    } catch (const AlarmConfigurationError& failure) {
        return mistakeAt(path, failure.position(), failure.what());
    } catch (const std::exception& failure) {
        return mistakeAt(path, {}, failure.what());
    }
}

} // namespace velk::powerdistribution::protocols
