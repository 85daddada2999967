#include "platform/common/UnixTime.h"

#include <array>
#include <ctime>

namespace conv {

UnixTime UnixTime::now() {
    return UnixTime{static_cast<std::uint32_t>(std::time(nullptr))};
}

std::string UnixTime::toIso8601() const {
    const std::time_t time = seconds;
    std::tm utc{};
    gmtime_r(&time, &utc);
    std::array<char, sizeof "2024-01-31T12:34:56.000Z"> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S.000Z", &utc);
    return {text.data(), length};
}

std::ostream& operator<<(std::ostream& stream, const UnixTime& time) {
    return stream << time.toIso8601();
}

} // namespace conv
